#include "support/base64_internal.h"

#ifdef ZR_BASE64_ON_X86
#include <immintrin.h>

#define ZR_VECTOR_TARGET __attribute__((target("ssse3")))
#define ZR_VECTOR(op) _mm_##op

namespace zr::base64 {
namespace {

using Vector = __m128i;
constexpr std::ptrdiff_t kLanes = 1;

ZR_VECTOR_TARGET Vector load(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

ZR_VECTOR_TARGET void store(void* to, Vector vector) {
  _mm_storeu_si128(static_cast<__m128i*>(to), vector);
}

ZR_VECTOR_TARGET Vector broadcast(const std::array<std::uint8_t, 16>& table) {
  return load(table.data());
}

ZR_VECTOR_TARGET Vector loadGroups(const unsigned char* from) {
  return load(from);
}

ZR_VECTOR_TARGET void storeGroups(unsigned char* to, Vector bytes) {
  store(to, bytes);
}

}  // namespace
}  // namespace zr::base64

#include "support/base64_vectors.inl"

const zr::base64::Path zr::base64::kSsse3{"SSSE3", encodeVectors, decodeVectors};
#endif
