// Runs a fuzz target over saved inputs without libFuzzer, so that the normal build keeps every target compiling
// and every seed and regression input passing. Each argument is a directory (every regular file in it, in name
// order) or a single file. A directory without inputs is an error: a replay that ran nothing must not pass.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

bool read_file(const fs::path& path, std::vector<std::uint8_t>& bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return false;
  }
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

bool collect(const fs::path& argument, std::vector<fs::path>& inputs) {
  std::error_code error;
  if (fs::is_regular_file(argument, error)) {
    inputs.push_back(argument);
    return true;
  }
  if (!fs::is_directory(argument, error)) {
    std::fprintf(stderr, "replay: %s is neither a file nor a directory\n", argument.string().c_str());
    return false;
  }
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(argument, error)) {
    if (entry.is_regular_file(error)) {
      found.push_back(entry.path());
    }
  }
  if (error || found.empty()) {
    std::fprintf(stderr, "replay: no inputs in %s\n", argument.string().c_str());
    return false;
  }
  std::sort(found.begin(), found.end());
  inputs.insert(inputs.end(), found.begin(), found.end());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s <corpus directory or file>...\n", argv[0]);
    return 2;
  }
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (!collect(argv[i], inputs)) {
      return 1;
    }
  }
  std::vector<std::uint8_t> bytes;
  for (const auto& input : inputs) {
    if (!read_file(input, bytes)) {
      std::fprintf(stderr, "replay: cannot read %s\n", input.string().c_str());
      return 1;
    }
    std::fprintf(stderr, "replay: %s (%s bytes)\n", input.string().c_str(), std::to_string(bytes.size()).c_str());
    static_cast<void>(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()));
  }
  std::printf("replayed %s inputs\n", std::to_string(inputs.size()).c_str());
  return 0;
}
