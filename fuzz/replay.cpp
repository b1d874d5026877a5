// Runs a fuzzer over inputs that are there already, with any compiler: <fuzzer> <file or folder>... runs it
// over each file, and over the files of each folder in the order of their names. What a fuzzer finds ends the
// program as it ends the fuzzer's run; the last line names the input.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

extern "C" {
[[gnu::weak]] int LLVMFuzzerInitialize(int* argc, char*** argv);
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// A fuzzer with its own way of changing inputs needs it to link.
std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t, std::size_t)
{
  std::fputs("replay: inputs are not changed here\n", stderr);
  std::abort();
}
}

namespace {

std::vector<fs::path> inputsOf(const fs::path& place)
{
  if (!fs::is_directory(place)) {
    return {place};
  }
  std::vector<fs::path> inputs;
  for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
    inputs.push_back(entry.path());
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

void run(const fs::path& path)
{
  std::ifstream in(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  if (!in.is_open() || in.bad()) {
    throw std::runtime_error("cannot read " + path.string());
  }
  std::fprintf(stderr, "%s\n", path.c_str());  // now: afterwards may be too late
  // A block of exactly the input's size, so that a sanitizer sees a read past its end.
  const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  [&]() noexcept {  // an exception is a finding, too
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
  }();
}

}  // namespace

int main(int argc, char** argv)
{
  try {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
      const std::vector<fs::path> found = inputsOf(argv[i]);
      inputs.insert(inputs.end(), found.begin(), found.end());
    }
    if (inputs.empty()) {
      std::fputs("replay: no inputs\n", stderr);
      return 2;
    }
    if (LLVMFuzzerInitialize != nullptr) {
      LLVMFuzzerInitialize(&argc, &argv);
    }
    for (const fs::path& path : inputs) {
      run(path);
    }
    std::fprintf(stderr, "%zu inputs\n", inputs.size());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "replay: %s\n", error.what());
    return 2;
  }
}
