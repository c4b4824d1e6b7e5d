// Base64 against the two things that bound it: copying the same bytes, and the plain way of a table look-up for each
// character. Both stand beside it in each run. Counters: GB/s of input, and how many times the plain way's speed that
// is.

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "support/base64.h"

namespace {

constexpr int kChunk = 65536;  // what a stream parameter is sent in

std::string randomBytes() {
  std::mt19937 random(3);
  std::string bytes(kChunk, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

void encodePlainly(const std::string& bytes, char* to) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
    const unsigned group = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
    for (int shift = 18; shift >= 0; shift -= 6)
      *to++ = kAlphabet[group >> shift & 0x3FU];
  }
}

template <typename Work>
double secondsFor(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void encode(benchmark::State& state) {
  const std::string bytes = randomBytes();
  std::string text(static_cast<std::size_t>(kChunk) * 4 / 3 + 8, '\0');
  double ours = 0, plain = 0, copy = 0;
  while (state.KeepRunning()) {
    ours += secondsFor([&] { ToB64Enc(bytes.data(), text.data(), kChunk); });
    benchmark::ClobberMemory();
    plain += secondsFor([&] { encodePlainly(bytes, text.data()); });
    benchmark::ClobberMemory();
    copy += secondsFor([&] { std::memcpy(text.data(), bytes.data(), bytes.size()); });
    benchmark::ClobberMemory();
  }
  state.counters["GB/s"] = kChunk * static_cast<double>(state.iterations()) / ours / 1e9;
  state.counters["plain/ours"] = plain / ours;
  state.counters["ours/memcpy"] = ours / copy;
}
BENCHMARK(encode);

void decode(benchmark::State& state) {
  const std::string bytes = randomBytes();
  std::string text(static_cast<std::size_t>(kChunk) * 4 / 3 + 8, '\0');
  ToB64Enc(bytes.data(), text.data(), kChunk);
  double ours = 0, copy = 0;
  while (state.KeepRunning()) {
    unsigned int length = 0;
    std::unique_ptr<unsigned char[]> decoded;
    ours += secondsFor([&] { decoded.reset(Base64Decode(text.c_str(), &length)); });
    copy += secondsFor([&] { std::memcpy(decoded.get(), bytes.data(), length); });
    benchmark::ClobberMemory();
  }
  state.counters["GB/s"] = kChunk * static_cast<double>(state.iterations()) / ours / 1e9;
  state.counters["ours/memcpy"] = ours / copy;
}
BENCHMARK(decode);

}  // namespace

BENCHMARK_MAIN();
