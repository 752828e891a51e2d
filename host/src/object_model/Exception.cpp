#include "pxl/Exception.h"

namespace pxl {

Exception::ExceptionInfo::ExceptionInfo() = default;
Exception::ExceptionInfo::ExceptionInfo(ExceptionInfo const&) = default;
Exception::ExceptionInfo& Exception::ExceptionInfo::operator=(ExceptionInfo const&) = default;
Exception::ExceptionInfo::~ExceptionInfo() = default;

Exception::~Exception() = default;

ProcessingException::ProcessingException(ExceptionInfo const& info) : m_info(info) {}
ProcessingException::~ProcessingException() = default;

Exception::ExceptionInfo const& ProcessingException::getExceptionInfo() const { return m_info; }

String ProcessingException::getInfo(bool withLocation) const {
  if (!withLocation) return m_info.message;
  return m_info.message.str() + " (" + m_info.file.str() + ":" + std::to_string(m_info.line) + ")";
}

char const* ProcessingException::what() const noexcept { return m_info.message.c_str(); }

UnexpectedError::UnexpectedError(ExceptionInfo const& info) : ProcessingException(info) {}
UnexpectedError::~UnexpectedError() = default;

RuntimeError::RuntimeError(ExceptionInfo const& info) : ProcessingException(info) {}
RuntimeError::~RuntimeError() = default;

InvalidCall::InvalidCall(ExceptionInfo const& info) : ProcessingException(info) {}
InvalidCall::~InvalidCall() = default;

RuleException::RuleException(ExceptionInfo const& info) : ProcessingException(info) {}
RuleException::~RuleException() = default;

ExceptionCancelation::ExceptionCancelation() = default;
ExceptionCancelation::~ExceptionCancelation() = default;
String ExceptionCancelation::getInfo(bool) const { return String(); }
char const* ExceptionCancelation::what() const noexcept { return ""; }

}  // namespace pxl
