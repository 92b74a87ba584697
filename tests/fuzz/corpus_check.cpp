// Every file of the given folders through the reader, the update and the
// analyses: each must end with a result or one of the program's messages
// within the time limit. A fault found once stays found.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "design_input.h"

namespace {

constexpr auto kLimit = std::chrono::seconds(10);

}  // namespace

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int a = 1; a < argc; ++a)
    for (const auto& e : fs::directory_iterator(argv[a]))
      if (e.is_regular_file()) inputs.push_back(e.path());
  if (inputs.empty()) {
    std::fprintf(stderr, "no inputs\n");
    return 2;
  }
  int results = 0, messages = 0, failures = 0;
  for (const fs::path& p : inputs) {
    std::packaged_task<ovrin::fuzz::Outcome()> task([p] { return ovrin::fuzz::ExerciseDesignFile(p.string()); });
    std::future<ovrin::fuzz::Outcome> done = task.get_future();
    std::thread worker(std::move(task));
    if (done.wait_for(kLimit) != std::future_status::ready) {
      // A hang cannot be stopped from outside the thread: report it and leave.
      std::fprintf(stderr, "HANG (over %lld s): %s\n", static_cast<long long>(kLimit.count()), p.c_str());
      std::fflush(stderr);
      std::_Exit(1);
    }
    worker.join();
    try {
      (done.get() == ovrin::fuzz::Outcome::Result ? results : messages) += 1;
    } catch (const std::exception& e) {
      ++failures;
      std::fprintf(stderr, "FAULT: %s: %s\n", p.c_str(), e.what());
    }
  }
  std::printf("%zu inputs: %d results, %d messages, %d faults\n", inputs.size(), results, messages, failures);
  return failures == 0 ? 0 : 1;
}
