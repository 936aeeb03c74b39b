#include <cstdio>
#include <iostream>
#include <ostream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <csignal>
#endif

#include "uvc-stereo/commands.h"
#include "uvc-stereo/console.h"
#include "uvc-stereo/output_stream.h"
#include "uvc-stereo/standard_input.h"
#include "uvc-stereo/terminal_size.h"

int main(int argc, char** argv) {
  namespace cli = tovanel::uvc_stereo::cli;
  cli::hold_closed_standard_descriptors();
#if defined(_WIN32)
  // A configuration piped in on standard input is read byte for byte, CR LF included.
  _setmode(_fileno(stdin), _O_BINARY);
#else
  // A reader that goes away (`| head`) is a failed write the commands handle, ending a stream
  // with its plot still written, rather than a signal that ends the process on the spot.
  std::signal(SIGPIPE, SIG_IGN);
#endif
  constexpr int kStandardInput = 0;
  cli::DescriptorInput input_buffer(kStandardInput);
  std::istream in(&input_buffer);
  constexpr int kStandardOutput = 1;
  constexpr int kStandardError = 2;
  const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
  cli::DescriptorBuffer out_buffer(kStandardOutput, cli::descriptor_is_terminal(kStandardOutput));
  std::ostream out(&out_buffer);
  cli::Console console{in,
                       out,
                       std::cerr,
                       cli::descriptor_is_terminal(kStandardError),
                       cli::descriptor_is_terminal(kStandardOutput),
                       cli::terminal_columns(kStandardError)};
  return cli::run_cli(args, console);
}
