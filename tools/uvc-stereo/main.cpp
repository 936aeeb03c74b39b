#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

#include "uvc-stereo/commands.h"
#include "uvc-stereo/console.h"

namespace {

bool stderr_is_terminal() {
#if defined(_WIN32)
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(fileno(stderr)) != 0;
#endif
}

}  // namespace

int main(int argc, char** argv) {
#if defined(_WIN32)
  // A configuration piped in on standard input is read byte for byte, CR LF included.
  _setmode(_fileno(stdin), _O_BINARY);
#endif
  const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
  tovanel::uvc_stereo::cli::Console console{std::cin, std::cout, std::cerr, stderr_is_terminal()};
  const int status = tovanel::uvc_stereo::cli::run_cli(args, console);
  std::cout.flush();
  return status;
}
