// The framework's exception family. Throw the narrowest; the text names the object and the reason.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace Pellmar {

class Throwable : public std::exception {
  public:
    explicit Throwable(std::string text) : text(std::move(text)) {}
    const char* what() const noexcept override { return text.c_str(); }

  private:
    std::string text;
};

class Exception : public Throwable {
  public:
    using Throwable::Throwable;
};

// A read, write or other use of a file or a connection failed.
class IOException : public Exception {
  public:
    using Exception::Exception;
    // "what: the system's text of `errorNumber`".
    IOException(const std::string& what, int errorNumber);
};

class InvalidArgumentException : public Exception {
  public:
    using Exception::Exception;
};

class NotFoundException : public Exception {
  public:
    using Exception::Exception;
};

}  // namespace Pellmar
