#include "host/lisp/reader.h"

#include <cmath>

#include "host/lisp/interpreter.h"
#include "host/text/number_text.h"

namespace vela::host::lisp {

namespace {

bool isDelimiter(QChar c) {
    return c.isSpace() || c == u'(' || c == u')' || c == u'\'' || c == u'"' || c == u';';
}

LispError malformedList() {
    return LispError(QStringLiteral("malformed list on input"));
}

}  // namespace

bool readNumber(const QString& token, Value& out) {
    if (token.isEmpty()) return false;
    // Digits with an optional sign, point and exponent; anything else (a lone sign, "1+", "1e") is a symbol.
    qsizetype i = 0;
    if (token[i] == u'+' || token[i] == u'-') ++i;
    qsizetype digits = 0;
    bool isReal = false;
    while (i < token.size() && token[i].isDigit() && token[i].unicode() < 128) ++i, ++digits;
    if (i < token.size() && token[i] == u'.') {
        isReal = true;
        ++i;
        while (i < token.size() && token[i].isDigit() && token[i].unicode() < 128) ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < token.size() && (token[i] == u'e' || token[i] == u'E')) {
        isReal = true;
        ++i;
        if (i < token.size() && (token[i] == u'+' || token[i] == u'-')) ++i;
        qsizetype exponent = 0;
        while (i < token.size() && token[i].isDigit() && token[i].unicode() < 128) ++i, ++exponent;
        if (exponent == 0) return false;
    }
    if (i != token.size()) return false;
    const std::optional<double> value = NumberFromText(token);
    if (!value) return false;
    // Integers beyond 32 bits read as reals, as the dialect does.
    if (!isReal && std::fabs(*value) <= 2147483647.0)
        out = Value(static_cast<std::int32_t>(*value));
    else
        out = Value(*value);
    return true;
}

bool Reader::next(Value& out) {
    skipBlank();
    if (atEnd()) return false;
    if (peek() == u')') {
        ++pos_;
        throw LispError(QStringLiteral("extra right paren on input"));
    }
    out = readForm(0);
    return true;
}

void Reader::skipBlank() {
    while (!atEnd()) {
        const QChar c = peek();
        if (c.isSpace()) {
            ++pos_;
        } else if (c == u';') {
            if (pos_ + 1 < text_.size() && text_[pos_ + 1] == u'|') {
                const qsizetype end = text_.indexOf(QLatin1String("|;"), pos_ + 2);
                pos_ = end < 0 ? text_.size() : end + 2;
            } else {
                while (!atEnd() && peek() != u'\n') ++pos_;
            }
        } else {
            return;
        }
    }
}

Value Reader::readForm(int depth) {
    skipBlank();
    if (atEnd()) throw malformedList();
    const QChar c = peek();
    if (c == u'(') {
        ++pos_;
        return readList(depth + 1);
    }
    if (c == u'\'') {
        ++pos_;
        if (depth + 1 > kMaxNesting)
            throw LispError(QStringLiteral("malformed list on input (nested too deeply)"));
        Value quoted = readForm(depth + 1);
        return list({lisp_.symbol(QStringLiteral("QUOTE")), std::move(quoted)});
    }
    if (c == u'"') return readString();
    if (c == u')') throw malformedList();
    return readAtom();
}

Value Reader::readList(int depth) {
    if (depth > kMaxNesting) throw LispError(QStringLiteral("malformed list on input (nested too deeply)"));
    ListBuilder items;
    bool any = false;
    for (;;) {
        skipBlank();
        if (atEnd()) throw malformedList();
        const QChar c = peek();
        if (c == u')') {
            ++pos_;
            return items.take();
        }
        // " . " between the last element and the tail of a dotted list.
        if (c == u'.' && any && (pos_ + 1 >= text_.size() || isDelimiter(text_[pos_ + 1]))) {
            ++pos_;
            items.setTail(readForm(depth));
            skipBlank();
            if (atEnd() || peek() != u')') throw malformedList();
            ++pos_;
            return items.take();
        }
        items.add(readForm(depth));
        any = true;
    }
}

Value Reader::readString() {
    ++pos_;  // the opening quote
    QString s;
    while (!atEnd()) {
        QChar c = text_[pos_++];
        if (c == u'"') return string(std::move(s));
        if (c == u'\\' && !atEnd()) {
            const QChar e = text_[pos_++];
            switch (e.unicode()) {
                case 'n':
                    c = u'\n';
                    break;
                case 't':
                    c = u'\t';
                    break;
                case 'r':
                    c = u'\r';
                    break;
                case 'e':
                    c = QChar(27);
                    break;
                default:
                    c = e;
                    break;  // \" \\ and any other character as itself
            }
        }
        s.append(c);
    }
    throw LispError(QStringLiteral("malformed string on input"));
}

Value Reader::readAtom() {
    const qsizetype start = pos_;
    while (!atEnd() && !isDelimiter(peek())) ++pos_;
    const QString token = text_.mid(start, pos_ - start);
    Value number;
    if (readNumber(token, number)) return number;
    if (token.compare(QLatin1String("nil"), Qt::CaseInsensitive) == 0) return Value();
    return lisp_.symbol(token);
}

}  // namespace vela::host::lisp
