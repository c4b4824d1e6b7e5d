#include "support/base64.h"

#include "support/base64_internal.h"

namespace {

const zr::base64::Path& fastestPath() {
  return *zr::base64::usablePaths().front();
}

}  // namespace

int ToB64Enc(const char* src, char* dst, int len) {
  zr::base64::encode(fastestPath(), src, dst, len);
  return 0;
}

unsigned char* Base64Decode(const char* src, unsigned int* outLen) {
  return zr::base64::decode(fastestPath(), src, outLen);
}
