// How much a test of reliability does, and what it did in figures.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace kwxml::test {

/// Whether all inputs are tried; else as many as a run of all tests has time for.
inline bool isFull()
{
  const char* extent = std::getenv("KWXML_RELIABILITY");
  return extent != nullptr && std::string_view(extent) == "full";
}

/// Takes every input, or in the short form the first one and each n-th from there on.
class Stride
{
public:
  explicit Stride(std::size_t n) : n_(isFull() ? 1 : n) {}
  bool takes() { return next_++ % n_ == 0; }

private:
  std::size_t n_;
  std::size_t next_ = 0;
};

/// Counts inputs and says at its end how many there were. scripts/reliability shows these lines.
class Figures
{
public:
  explicit Figures(std::string name) : name_(std::move(name)) {}
  Figures(const Figures&) = delete;
  Figures& operator=(const Figures&) = delete;
  ~Figures()
  {
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
    std::printf("figures: %s: %zu inputs, %.1f s%s\n", name_.c_str(), inputs, taken.count(), more.c_str());
  }

  std::size_t inputs = 0;
  std::string more;  // shown behind the rest

private:
  std::string name_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace kwxml::test
