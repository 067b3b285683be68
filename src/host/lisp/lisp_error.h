#pragma once

#include <QString>
#include <exception>

namespace vela::host::lisp {

/// An error of an evaluation, as a CAD program's LISP words it ("bad argument type: numberp: \"a\"").
/// Ordinary errors can be caught by vl-catch-all-apply and *error*; a limit of the sandbox ends the
/// evaluation whatever the program does.
class LispError : public std::exception {
  public:
    explicit LispError(QString message, bool limit = false) : message_(std::move(message)), limit_(limit) {}
    const QString& message() const { return message_; }
    bool isLimit() const { return limit_; }
    const char* what() const noexcept override { return "LISP error"; }

  private:
    QString message_;
    bool limit_;
};

}  // namespace vela::host::lisp
