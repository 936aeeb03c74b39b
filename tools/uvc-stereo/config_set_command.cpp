#include <cstdint>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/file_io.h"
#include "uvc-stereo/interrupt_deferral.h"
#include "uvc-stereo/json_diff.h"
#include "uvc-stereo/json_text.h"
#include "uvc-stereo/terminal_text.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// The largest configuration the tool reads: the camera's bridge chip addresses its serial
// flash with three-byte addresses, so no flash user space, and no record in it, reaches 16 MiB.
// Reading stops there, so that an endless source (/dev/zero, `yes`) fails at once.
constexpr std::size_t kMaxInputBytes = std::size_t{1} << 24;

CommandSyntax config_set_syntax() {
  CommandSyntax syntax = camera_command_syntax(
      "config set", "[options] FILE|-",
      "Validates the JSON in FILE (or standard input for -), saves the configuration it replaces to a\n"
      "backup file, then writes it to the camera's flash and verifies it. Invalid JSON is refused with\n"
      "its exact position before the camera is touched.");
  syntax.options.push_back({"backup", "FILE",
                            "save the replaced configuration to FILE, which must not exist yet, or to\n"
                            "standard output for - (default: a new uvc-stereo-backup-<serial>-<UTC time>.json\n"
                            "in the current directory)"});
  syntax.options.push_back({"no-backup", "", "do not save the replaced configuration"});
  syntax.options.push_back({"dry-run", "", "show what would change and write nothing"});
  syntax.exclusive.push_back({{"backup", "no-backup"}, "--backup and --no-backup exclude each other"});
  syntax.min_positionals = 1;
  syntax.max_positionals = 1;
  syntax.details +=
      "The changes are listed one value per line: '~' changed, '+' added, '-' removed.\n"
      "Undo a write with: uvc-stereo config set BACKUP-FILE (with the same camera selection).\n"
      "A camera whose flash holds no configuration yet has nothing to back up.\n";
  return syntax;
}

struct Input {
  std::string text;
  std::string name;  ///< how messages refer to it
};

// The message of a JSON failure with the line and column of its offset, which an editor can jump to.
std::string json_failure_context(const Status& status, const Input& input) {
  std::size_t offset = 0;
  std::string context;
  if (offset_in_message(status.message(), offset)) {
    const TextPosition position = position_of_offset(input.text, offset);
    context = "line " + std::to_string(position.line) + ", column " + std::to_string(position.column) + " of ";
  }
  return context + input.name + "; nothing was written";
}

// How the camera written was reached: "--simulate" or "--simulate=DIR" (the directory made
// absolute, so the command works from anywhere) for simulated cameras, else nothing.
std::string simulate_option(const ParsedArguments& arguments) {
  if (const std::optional<std::string> directory = arguments.value("simulate")) {
    return "--simulate=" + quoted_for_shell(std::filesystem::absolute(*directory).lexically_normal().string());
  }
  return arguments.has("simulate") ? "--simulate" : "";
}

// "uvc-stereo config set" selecting this very camera again, on the simulated cameras when
// they were the ones written.
std::string config_set_again(const SelectedCamera& camera, const std::string& simulate) {
  return "uvc-stereo config set " + (simulate.empty() ? std::string() : simulate + " ") + reselect_options(camera);
}

// A command that restores the backup when pasted into a shell: the selector names this very
// camera, and a file name that looks like an option comes after "--".
std::string undo_command(const std::string& backup_path, const SelectedCamera& camera, const std::string& simulate) {
  if (backup_path.rfind('-', 0) == 0) {
    return config_set_again(camera, simulate) + " -- " + quoted_for_shell(backup_path);
  }
  return "uvc-stereo config set " + quoted_for_shell(backup_path) + " " +
         (simulate.empty() ? std::string() : simulate + " ") + reselect_options(camera);
}

// An interrupt that arrives before the flash is erased ends the run with the camera as it was.
int report_interrupted_before_write(const SelectedCamera& camera, Console& console) {
  console.err << "uvc-stereo: interrupted before the camera was written; nothing was written to "
              << describe_camera(camera) << "\n";
  return InterruptDeferral::kExitInterrupted;
}

int config_set_body(const ParsedArguments& arguments, Console& console) {
  // From here on an interrupt is only recorded; where it is acted on decides what it may cut.
  InterruptDeferral interrupts;
  const bool dry_run = arguments.has("dry-run");
  const std::string simulate = simulate_option(arguments);
  const bool keep_backup = !arguments.has("no-backup");

  // Everything about the new text is settled before any camera is contacted.
  Input input;
  const std::string& source = arguments.positionals().front();
  BoundedRead input_read = BoundedRead::Read;
  std::string error;
  if (source == "-") {
    input.name = "standard input";
    input_read = read_stream_at_most(console.in, kMaxInputBytes, input.text);
    error = "cannot read standard input";
  } else {
    input.name = source;
    input_read = read_file_at_most(source, kMaxInputBytes, input.text, error);
  }
  if (interrupts.interrupted()) {
    console.err << "uvc-stereo: interrupted while reading " << input.name << "; nothing was written\n";
    return InterruptDeferral::kExitInterrupted;
  }
  if (input_read == BoundedRead::Failed) {
    return report_file_error(error, console);
  }
  if (input_read == BoundedRead::TooLarge) {
    console.err << "uvc-stereo: InvalidLength: " << terminal_safe(input.name) << " holds more than " << kMaxInputBytes
                << " bytes, more than the largest configuration record a camera can hold; nothing was written\n";
    return exit_status_for(ErrorCode::InvalidLength);
  }
  Result<std::string> minified = minify_and_validate_json(input.text);
  if (!minified.ok()) {
    return report_sdk_error(minified.status(), json_failure_context(minified.status(), input), console);
  }
  // A backup never replaces a file; a name already taken is refused before the camera is
  // contacted, by the dry run as well.
  const std::optional<std::string> backup_option = keep_backup ? arguments.value("backup") : std::nullopt;
  const bool backup_to_output = backup_option && *backup_option == "-";
  if (backup_option && !backup_to_output) {
    const OutputPathCheck check = check_output_path(*backup_option, false);
    if (check.state == OutputPath::Taken) {
      return report_file_error("will not replace '" + *backup_option +
                                   "': the file already exists (a backup never replaces a file); nothing was written",
                               console);
    }
    if (check.state == OutputPath::Unwritable) {
      return report_file_error(
          "cannot write the backup '" + *backup_option + "': " + check.reason + "; nothing was written to the camera",
          console);
    }
  }
  const std::string& new_json = minified.value();

  OpenedSelection opened = open_selected_camera("config set", arguments, console);
  if (!opened.device) {
    return opened.exit_status;
  }
  const SelectedCamera& camera = *opened.camera;
  Device& device = *opened.device;

  // The record (header and minified JSON) must fit this camera's flash user space; saying
  // so now spares the user a diff, a backup and a camera contacted for nothing.
  const FlashConfig& flash = device.flash_config();
  const std::uint64_t record_size = std::uint64_t{flash.min_header_size} + new_json.size();
  if (record_size > flash.user_space_size) {
    console.err << "uvc-stereo: InvalidLength: the configuration record would take " << record_size << " bytes ("
                << flash.min_header_size << "-byte header and " << new_json.size() << " bytes of minified JSON), but "
                << describe_camera(camera) << " holds at most " << flash.user_space_size
                << " bytes in its flash user space; nothing was written\n";
    return exit_status_for(ErrorCode::InvalidLength);
  }

  // The record about to be replaced: what the backup keeps and the changes are measured from.
  std::optional<std::string> current;
  Result<ReadJsonResult> read = device.read_json();
  if (read.ok()) {
    current = read.value().json;
  } else if (read.status().code() == ErrorCode::BadMagic) {
    console.err << describe_camera(camera) << " holds no configuration yet; there is nothing to back up\n";
  } else if (keep_backup && !dry_run) {
    return report_sdk_error(read.status(),
                            "cannot read the configuration to be replaced, so it cannot be backed up; nothing was "
                            "written (--no-backup writes anyway)",
                            console);
  } else {
    console.err << "the current configuration cannot be read (" << error_code_name(read.status().code()) << ": "
                << read.status().message() << "); changes are shown against an empty configuration\n";
  }

  if (interrupts.interrupted()) {
    return report_interrupted_before_write(camera, console);
  }

  // With the backup on standard output, the changes go to standard error so that what is
  // saved is the configuration alone.
  std::ostream& changes = backup_to_output ? console.err : console.out;
  const JsonDiff diff = diff_json(current.value_or(""), new_json);
  for (const std::string& line : diff.lines) {
    changes << line << "\n";
  }
  if (diff.too_deep) {
    console.err << "the changes are not listed: a configuration nests deeper than " << kMaxShownDepth << " levels\n";
  }
  // The changes come before the verdict on standard error, also when both go to one log;
  // a user who cannot see them has not seen what is about to be written.
  if (!output_intact(console)) {
    return report_output_failure("the changes could not be shown; nothing was written to " + describe_camera(camera),
                                 console);
  }
  if (dry_run) {
    console.err << "dry run: " << diff.summary() << "; nothing was written to " << describe_camera(camera) << "\n";
    return kExitOk;
  }
  if (current && *current == new_json) {
    console.err << describe_camera(camera) << " already holds this configuration; nothing was written\n";
    return kExitOk;
  }

  std::string backup_path;
  if (current && keep_backup) {
    const std::string backup = *current + "\n";
    std::string error;
    if (backup_to_output) {
      console.out << backup;
      if (!output_intact(console)) {
        return report_output_failure("the backup could not be saved; nothing was written to the camera", console);
      }
      backup_path = "-";
      console.err << "saved the configuration being replaced to standard output\n";
    } else {
      backup_path =
          backup_option ? *backup_option : create_backup_file(camera_label(camera), std::time(nullptr), backup, error);
      if (backup_path.empty() || (backup_option && !create_new_file(backup_path, backup, error))) {
        return report_file_error(error + "; nothing was written to the camera", console);
      }
      console.err << "saved the configuration being replaced to " << backup_path << "\n";
    }
  }

  if (interrupts.interrupted()) {
    return report_interrupted_before_write(camera, console);
  }
  interrupts.flash_write_begins();
  const Status written = device.write_json(input.text);
  if (interrupts.interrupted()) {
    console.err << "uvc-stereo: interrupted; the write to " << describe_camera(camera) << " has finished: "
                << (written.ok() ? std::string("written and verified")
                                 : std::string(error_code_name(written.code())) + ": " + written.message());
    if (backup_to_output) {
      console.err << "; restore by giving the saved standard output to: " << config_set_again(camera, simulate) << " -";
    } else if (!backup_path.empty()) {
      console.err << "; restore with: " << undo_command(backup_path, camera, simulate);
    }
    console.err << "\n";
    return InterruptDeferral::kExitInterrupted;
  }
  if (!written.ok()) {
    std::string context = "writing the configuration of " + describe_camera(camera);
    if (!backup_path.empty()) {
      context += "; the previous configuration is in " + (backup_to_output ? "the saved standard output" : backup_path);
    }
    return report_sdk_error(written, context, console);
  }
  console.err << "wrote and verified the configuration of " << describe_camera(camera) << " (" << new_json.size()
              << " bytes): " << diff.summary() << "\n";
  if (backup_to_output) {
    console.err << "undo by giving the saved standard output to: " << config_set_again(camera, simulate) << " -\n";
  } else if (!backup_path.empty()) {
    console.err << "undo with: " << undo_command(backup_path, camera, simulate) << "\n";
  }
  return kExitOk;
}

}  // namespace

int run_config_set(const std::vector<std::string>& args, Console& console) {
  return run_command(config_set_syntax(), args, console, config_set_body);
}

}  // namespace tovanel::uvc_stereo::cli
