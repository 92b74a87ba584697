// Coverage-guided fuzzing of the design file reader, the update, the spot
// diagram and the layout (libFuzzer). Each input is written to a file, as the
// reader takes a path, and read back as the program would.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "design_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = "/tmp/ovrin-fuzz-" + std::to_string(::getpid()) + ".ovn";
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  std::fwrite(data, 1, size, f);
  std::fclose(f);
  ovrin::fuzz::ExerciseDesignFile(path);
  return 0;
}
