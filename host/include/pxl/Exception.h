#pragma once

#include <exception>

#include "object_model/Export.h"
#include "pxl/String.h"

namespace pxl {

/**
 * Base of everything the host and its plug-ins throw. Objects are thrown by value and may be caught on the other side
 * of a library border: vtables and type information live in the host.
 */
class OBJECT_MODEL_API Exception : public std::exception {
 public:
  /** What a failure tells about itself. */
  struct OBJECT_MODEL_API ExceptionInfo {
    ExceptionInfo();
    ExceptionInfo(ExceptionInfo const&);
    ExceptionInfo& operator=(ExceptionInfo const&);
    ~ExceptionInfo();

    String message;
    String file;    ///< source path of the raising file
    long line = 0;  ///< line in that file
    String context;
    String advice;
  };

  ~Exception() override;

  /** The text of the failure; with `withLocation` the source file and line are added. */
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

/** Something happened that correct code and a sound system rule out. */
class OBJECT_MODEL_API UnexpectedError : public ProcessingException {
 public:
  explicit UnexpectedError(ExceptionInfo const& info);
  ~UnexpectedError() override;
};

/** A failure that only shows while running: a file that can't be read, a value that isn't known. */
class OBJECT_MODEL_API RuntimeError : public ProcessingException {
 public:
  explicit RuntimeError(ExceptionInfo const& info);
  ~RuntimeError() override;
};

/** A call whose arguments or moment are wrong. */
class OBJECT_MODEL_API InvalidCall : public ProcessingException {
 public:
  explicit InvalidCall(ExceptionInfo const& info);
  ~InvalidCall() override;
};

/** A rule of the system, such as a limit on memory, forbids what was asked. */
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
