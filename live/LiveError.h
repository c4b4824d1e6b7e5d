#ifndef ZR_LIVE_LIVEERROR_H
#define ZR_LIVE_LIVEERROR_H

#include <stdexcept>
#include <string>

#include "support/export.h"

namespace zrlive {

// Why an operation of this library failed. The text is one whole line without a line break, ready to be shown: what
// failed, where, and what to do about it. It never holds a password.
class ZR_EXPORT LiveError : public std::runtime_error {
 public:
  enum class Kind {
    kUsage,              // options that cannot be
    kUnreachable,        // the database cannot be reached or opened, is locked, or says nothing
    kNotPolicyDatabase,  // reached, but it holds no policy database, or a newer one
    kInputOutput,        // a file or folder cannot be read or written
    kInternal,           // no memory, or a fault of the library's own
  };

  LiveError(Kind kind, const std::string& text);
  ~LiveError() override;
  Kind kind() const { return m_kind; }

 private:
  Kind m_kind;
};

}  // namespace zrlive

#endif  // ZR_LIVE_LIVEERROR_H
