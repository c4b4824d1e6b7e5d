// Base64 against plain table code, the way that everybody writes it: one look-up for each character. Both do the same
// work in each run, on the piece in which a stream parameter is sent. Counters: GB/s of input, and how many times the
// plain code's speed that is.

#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "bench/bench_run.h"
#include "support/base64.h"

namespace {

constexpr int kChunk = 65536;
constexpr std::size_t kLineLength = 76;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string randomBytes() {
  std::mt19937 random(3);
  std::string bytes(kChunk, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

std::string encoded(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  ToB64Enc(bytes.data(), text.data(), static_cast<int>(bytes.size()));
  text.pop_back();
  return text;
}

std::string inLines(std::string text) {
  for (std::size_t end = kLineLength; end < text.size(); end += kLineLength + 2)
    text.insert(end, "\r\n");
  return text;
}

void encodePlainly(const std::string& bytes, char* to) {
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned group = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
    *to++ = kAlphabet[group >> 18];
    *to++ = kAlphabet[group >> 12 & 0x3FU];
    *to++ = kAlphabet[group >> 6 & 0x3FU];
    *to++ = kAlphabet[group & 0x3FU];
  }
  const unsigned rest = static_cast<unsigned char>(bytes[i]);  // kChunk leaves one byte
  *to++ = kAlphabet[rest >> 2];
  *to++ = kAlphabet[(rest & 3U) << 4];
  std::memcpy(to, "==", 3);
}

struct Values {
  unsigned char of[256];

  Values() {
    std::memset(of, 255, sizeof of);
    for (unsigned i = 0; i < 64; ++i)
      of[static_cast<unsigned char>(kAlphabet[i])] = static_cast<unsigned char>(i);
  }
};

unsigned char* decodePlainly(const char* text, unsigned* length) {
  static const Values values;
  auto* bytes = new unsigned char[std::strlen(text) / 4 * 3 + 3];
  unsigned char* to = bytes;
  unsigned group = 0, count = 0;
  for (; *text != '\0' && *text != '='; ++text) {
    const unsigned value = values.of[static_cast<unsigned char>(*text)];
    if (value == 255) continue;
    group = group << 6 | value;
    if (++count % 4 != 0) continue;
    *to++ = static_cast<unsigned char>(group >> 16);
    *to++ = static_cast<unsigned char>(group >> 8);
    *to++ = static_cast<unsigned char>(group);
  }
  if (count % 4 > 1) *to++ = static_cast<unsigned char>(group << (24 - count % 4 * 6) >> 16);
  if (count % 4 > 2) *to++ = static_cast<unsigned char>(group << 6 >> 8);
  *length = static_cast<unsigned>(to - bytes);
  return bytes;
}

void report(benchmark::State& state, double bytes, double ours, double plain) {
  state.counters["GB/s"] = bytes * static_cast<double>(state.iterations()) / ours / 1e9;
  state.counters["plain/ours"] = plain / ours;
}

void encode(benchmark::State& state) {
  const std::string bytes = randomBytes();
  std::string text = encoded(bytes), plainText = text;
  double ours = 0, plain = 0;
  while (state.KeepRunning()) {
    ours += zrbench::secondsFor([&] { ToB64Enc(bytes.data(), text.data(), kChunk); });
    plain += zrbench::secondsFor([&] { encodePlainly(bytes, plainText.data()); });
  }
  if (text != plainText) state.SkipWithError("the two differ");
  report(state, kChunk, ours, plain);
}
BENCHMARK(encode);

void decodeText(benchmark::State& state, const std::string& text) {
  double ours = 0, plain = 0;
  while (state.KeepRunning()) {
    unsigned length = 0, plainLength = 0;
    std::unique_ptr<unsigned char[]> decoded, plainlyDecoded;
    ours += zrbench::secondsFor([&] { decoded.reset(Base64Decode(text.c_str(), &length)); });
    plain += zrbench::secondsFor([&] { plainlyDecoded.reset(decodePlainly(text.c_str(), &plainLength)); });
    if (length != plainLength || std::memcmp(decoded.get(), plainlyDecoded.get(), length) != 0)
      state.SkipWithError("the two differ");
  }
  report(state, static_cast<double>(text.size()), ours, plain);
}

void decode(benchmark::State& state) {
  decodeText(state, encoded(randomBytes()));
}
BENCHMARK(decode);

void decodeLines(benchmark::State& state) {
  decodeText(state, inLines(encoded(randomBytes())));
}
BENCHMARK(decodeLines);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
