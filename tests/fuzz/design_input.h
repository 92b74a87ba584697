#pragma once
// One damaged design through the program's whole road: read, update, spot
// diagram and layout. Shared by the coverage-guided fuzzer and the corpus test.
#include <string>

namespace ovrin::fuzz {

enum class Outcome {
  Result,   // read and updated; the analyses ran
  Message,  // ended with one of the program's messages
};

// Reads the design file at `path` and runs it through the update and the
// analyses as the program would. Engine faults (a damaged file, a glass out
// of range, a ray that cannot pass) end as a Message; anything else escapes.
Outcome ExerciseDesignFile(const std::string& path);

}  // namespace ovrin::fuzz
