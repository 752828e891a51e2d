#pragma once

#include <exception>

#include "object_model/Export.h"
#include "pxl/String.h"

namespace pxl {

/**
 * Base of all exceptions of the host and its plug-ins. They are thrown by value and can be caught across library
 * boundaries: vtables and type information are in the host.
 */
class OBJECT_MODEL_API Exception : public std::exception {
 public:
  /** The description of a failure. */
  struct OBJECT_MODEL_API ExceptionInfo {
    ExceptionInfo();
    ExceptionInfo(ExceptionInfo const&);
    ExceptionInfo& operator=(ExceptionInfo const&);
    ~ExceptionInfo();

    String message;
    String file;    ///< path of the source file that throws
    long line = 0;  ///< line in that file
    String context;
    String advice;
  };

  ~Exception() override;

  /** The text of the failure, with the source file and line if `withLocation`. */
  virtual String getInfo(bool withLocation) const = 0;

  /** The text of getInfo(false); valid as long as the exception lives. */
  char const* what() const noexcept override = 0;
};

/** Failures that carry a text. */
class OBJECT_MODEL_API ProcessingException : public Exception {
 public:
  explicit ProcessingException(ExceptionInfo const& info);
  ~ProcessingException() override = 0;

  ExceptionInfo const& getExceptionInfo() const;
  String getInfo(bool withLocation) const override;
  char const* what() const noexcept override;

 private:
  ExceptionInfo m_info;
};

/** An internal error: it can't happen with correct code on a sound system. */
class OBJECT_MODEL_API UnexpectedError : public ProcessingException {
 public:
  explicit UnexpectedError(ExceptionInfo const& info);
  ~UnexpectedError() override;
};

/** A failure that can only be detected at run time, such as a file that can't be read or an unknown value. */
class OBJECT_MODEL_API RuntimeError : public ProcessingException {
 public:
  explicit RuntimeError(ExceptionInfo const& info);
  ~RuntimeError() override;
};

/** A call with wrong arguments or at the wrong time. */
class OBJECT_MODEL_API InvalidCall : public ProcessingException {
 public:
  explicit InvalidCall(ExceptionInfo const& info);
  ~InvalidCall() override;
};

/** A rule of the system, such as a memory limit, forbids the request. */
class OBJECT_MODEL_API RuleException : public ProcessingException {
 public:
  explicit RuleException(ExceptionInfo const& info);
  ~RuleException() override;
};

/** The run was cancelled. Has no text of its own. */
class OBJECT_MODEL_API ExceptionCancelation : public Exception {
 public:
  ExceptionCancelation();
  ~ExceptionCancelation() override;
  String getInfo(bool withLocation) const override;
  char const* what() const noexcept override;
};

}  // namespace pxl
