#include "live/LiveError.h"

namespace zrlive {

LiveError::LiveError(Kind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}

LiveError::~LiveError() = default;

}  // namespace zrlive
