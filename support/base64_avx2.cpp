#include "support/base64_internal.h"

#ifdef ZR_BASE64_ON_X86
#include <immintrin.h>

#define ZR_VECTOR_TARGET __attribute__((target("avx2")))
#define ZR_VECTOR(op) _mm256_##op

namespace zr::base64 {
namespace {

using Vector = __m256i;
constexpr std::ptrdiff_t kLanes = 2;

ZR_VECTOR_TARGET Vector load(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

ZR_VECTOR_TARGET void store(void* to, Vector vector) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), vector);
}

ZR_VECTOR_TARGET __m128i loadLane(const unsigned char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

ZR_VECTOR_TARGET void storeLane(unsigned char* to, __m128i lane) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), lane);
}

ZR_VECTOR_TARGET Vector broadcast(const std::array<std::uint8_t, 16>& table) {
  return _mm256_broadcastsi128_si256(loadLane(table.data()));
}

ZR_VECTOR_TARGET Vector loadGroups(const unsigned char* from) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(loadLane(from)), loadLane(from + 12), 1);
}

ZR_VECTOR_TARGET void storeGroups(unsigned char* to, Vector bytes) {
  storeLane(to, _mm256_castsi256_si128(bytes));
  storeLane(to + 12, _mm256_extracti128_si256(bytes, 1));
}

}  // namespace
}  // namespace zr::base64

#include "support/base64_vectors.inl"

const zr::base64::Path zr::base64::kAvx2{"AVX2", encodeVectors, decodeVectors};
#endif
