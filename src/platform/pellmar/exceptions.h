// The framework's exception family. Throw the narrowest; the text names the object and the reason.
#pragma once

#include <cstddef>
#include <exception>
#include <string>

namespace Pellmar {

// What happened, what to do about it, and the system's error number, each where there is one.
class Throwable : public std::exception {
  public:
    // `errorNumber` is the system's, whose text `happened` says if it matters.
    explicit Throwable(const std::string& happened, const std::string& advice = {},
                       int errorNumber = 0);
    // What happened is "what: the system's text of `errorNumber`".
    Throwable(const std::string& what, int errorNumber, const std::string& advice = {});

    // "what happened; advice", or what happened alone.
    const char* what() const noexcept override { return text.c_str(); }
    std::string WhatHappened() const { return text.substr(0, happenedSize); }
    // In the imperative; empty when there is none.
    std::string Advice() const;
    // 0 when the failure is not the system's.
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

// A read, write or other use of a file or a connection failed.
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
