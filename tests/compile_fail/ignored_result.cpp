// Must not compile: a Result<T> dropped on the floor, with its failure unseen. The function carries no
// attribute, so only the type's own [[nodiscard]] can stop this.
#include "uvc_stereo/result.h"

namespace {

tovanel::uvc_stereo::Result<int> read_something() { return 42; }

}  // namespace

int main() {
  read_something();
  return 0;
}
