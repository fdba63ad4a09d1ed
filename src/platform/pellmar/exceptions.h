// The framework's exceptions. Throw the narrowest; its text names the object and the reason.
#pragma once

#include <cstddef>
#include <exception>
#include <string>

namespace Pellmar {

// What happened and, optionally, what to do about it and the system's error number.
class Throwable : public std::exception {
  public:
    // `errorNumber` is the system's error; `happened` describes it if it matters.
    explicit Throwable(const std::string& happened, const std::string& advice = {},
                       int errorNumber = 0);
    // WhatHappened becomes "what: the system's text of `errorNumber`".
    Throwable(const std::string& what, int errorNumber, const std::string& advice = {});

    // "what happened; advice", or just what happened.
    const char* what() const noexcept override { return text.c_str(); }
    std::string WhatHappened() const { return text.substr(0, happenedSize); }
    // In the imperative; may be empty.
    std::string Advice() const;
    // 0 unless the system reported the failure.
    int ErrorNumber() const { return errorNumber; }

  private:
    std::string text;
    std::size_t happenedSize;
    int errorNumber;
};

class Exception : public Throwable {
  public:
    using Throwable::Throwable;
};

// Reading, writing or otherwise using a file or connection failed.
class IOException : public Exception {
  public:
    using Exception::Exception;
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
