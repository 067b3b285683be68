#pragma once

#include <QString>
#include <vector>

#include "host/lisp/value.h"

namespace vela::host::lisp {

class Interpreter;

/// Reads LISP text into values: integers (32-bit; larger ones read as reals), reals, strings with the
/// escapes \" \\ \n \t \r \e, symbols (case-insensitive, kept upper case), quote, lists, dotted pairs and
/// comments (";" to the end of the line, ";|" to "|;"). Malformed text throws a LispError with the
/// dialect's message.
class Reader {
  public:
    Reader(Interpreter& lisp, const QString& text) : lisp_(lisp), text_(text) {}

    /// Reads the next form into `out`; false at the end of the text.
    bool next(Value& out);

    /// How deeply lists may nest in the text.
    static constexpr int kMaxNesting = 1000;

  private:
    Value readForm(int depth);
    Value readList(int depth);
    Value readString();
    Value readAtom();
    void skipBlank();
    bool atEnd() const { return pos_ >= text_.size(); }
    QChar peek() const { return text_[pos_]; }

    Interpreter& lisp_;
    const QString& text_;
    qsizetype pos_ = 0;
};

/// Reads a number as the reader does: an integer, a real, or nil when `token` is no number.
bool readNumber(const QString& token, Value& out);

}  // namespace vela::host::lisp
