#include "render/text_format.h"

#include <cctype>
#include <cstdlib>
#include <string>

namespace vela::render {

namespace {

// Appends the character a "%%" code stands for; returns how many bytes after the "%%" it took.
std::size_t appendPercentCode(std::string_view rest, QString& out) {
    if (rest.empty()) return 0;
    const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(rest[0])));
    switch (c) {
        case 'c':
            out += QChar(0x2300);
            return 1;
        case 'd':
            out += QChar(0x00B0);
            return 1;
        case 'p':
            out += QChar(0x00B1);
            return 1;
        case '%':
            out += QChar('%');
            return 1;
        case 'u':
        case 'o':
        case 'k':
            return 1;
        default:
            break;
    }
    if (std::isdigit(static_cast<unsigned char>(rest[0]))) {
        std::size_t n = 0;
        int code = 0;
        while (n < rest.size() && n < 3 && std::isdigit(static_cast<unsigned char>(rest[n])))
            code = code * 10 + (rest[n++] - '0');
        out += QChar(code);
        return n;
    }
    return 0;
}

// "\U+XXXX" at the start of `s`: the character, and 7 bytes taken.
bool takeUnicodeEscape(std::string_view s, QString& out) {
    if (s.size() < 7 || s[0] != '\\' || (s[1] != 'U' && s[1] != 'u') || s[2] != '+') return false;
    for (std::size_t i = 3; i < 7; ++i)
        if (!std::isxdigit(static_cast<unsigned char>(s[i]))) return false;
    out += QChar(static_cast<char16_t>(std::strtoul(std::string(s.substr(3, 4)).c_str(), nullptr, 16)));
    return true;
}

// Appends a plain stretch of UTF-8 text. Files write control characters as "^" and the character 64 places
// on ("^I" a tab, "^J" a line feed), and a caret itself as "^ "; none of them is shown but as a space.
void appendUtf8(std::string_view s, QString& out) {
    std::string plain;
    plain.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '^' && i + 1 < s.size() && s[i + 1] >= '@' && s[i + 1] <= '_') {
            plain += ' ', ++i;
        } else if (s[i] == '^' && i + 1 < s.size() && s[i + 1] == ' ') {
            plain += '^', ++i;
        } else if (s[i] == '\t' || s[i] == '\n' || s[i] == '\r') {
            plain += ' ';
        } else {
            plain += s[i];
        }
    }
    out += QString::fromUtf8(plain.data(), static_cast<qsizetype>(plain.size()));
}

struct RunStyle {
    double height = 1.0;
    double widthFactor = 1.0;
    std::optional<int> colorIndex;
    std::optional<QColor> trueColor;
    bool underline = false, overline = false, strikeThrough = false;
};

class MTextParser {
  public:
    MTextParser(std::string_view s, double height) : s_(s) {
        style_.height = height;
        paragraphs_.emplace_back();
    }

    std::vector<TextParagraph> parse() {
        std::vector<RunStyle> stack;
        while (i_ < s_.size()) {
            const char c = s_[i_];
            if (c == '{') {
                flush(), stack.push_back(style_), ++i_;
            } else if (c == '}') {
                flush();
                if (!stack.empty()) style_ = stack.back(), stack.pop_back();
                ++i_;
            } else if (s_.substr(i_, 2) == "%%") {
                const std::size_t used = appendPercentCode(s_.substr(i_ + 2), text_);
                if (used == 0) text_ += QStringLiteral("%%");
                i_ += 2 + used;
            } else if (c == '\\' && i_ + 1 < s_.size()) {
                code();
            } else {
                std::size_t j = i_;
                while (j < s_.size() && s_[j] != '{' && s_[j] != '}' && s_[j] != '\\' && s_[j] != '%') ++j;
                if (j == i_) ++j;
                appendUtf8(s_.substr(i_, j - i_), text_);
                i_ = j;
            }
        }
        flush();
        return paragraphs_;
    }

  private:
    // The argument of a code that ends with ';' (or at the end of the text).
    std::string_view argument() {
        const std::size_t end = s_.find(';', i_);
        const std::string_view arg = s_.substr(i_, end == std::string_view::npos ? s_.size() - i_ : end - i_);
        i_ = end == std::string_view::npos ? s_.size() : end + 1;
        return arg;
    }

    void code() {
        QString escaped;
        if (takeUnicodeEscape(s_.substr(i_), escaped)) {
            text_ += escaped, i_ += 7;
            return;
        }
        const char k = s_[i_ + 1];
        i_ += 2;
        switch (k) {
            case 'P':
            case 'N':
            case 'X':
                flush(), paragraphs_.emplace_back();
                // Paragraph settings hold until changed.
                paragraphs_.back().align = paragraphs_[paragraphs_.size() - 2].align;
                break;
            case 'p': {
                // "\pxi-3,l3,qc;": of its settings only the alignment (q and l, c, r, j) is taken here.
                const std::string_view arg = argument();
                if (arg.find('*') != std::string_view::npos && arg.find('q') == std::string_view::npos)
                    paragraphs_.back().align.reset();
                const std::size_t q = arg.find('q');
                if (q != std::string_view::npos && q + 1 < arg.size()) {
                    using Align = TextParagraph::Align;
                    switch (arg[q + 1]) {
                        case 'c':
                            paragraphs_.back().align = Align::Center;
                            break;
                        case 'r':
                            paragraphs_.back().align = Align::Right;
                            break;
                        case 'l':
                        case 'j':
                        case 'd':
                            paragraphs_.back().align = Align::Left;
                            break;
                        default:
                            paragraphs_.back().align.reset();
                            break;
                    }
                }
                break;
            }
            case '~': {
                flush();
                TextRun run = makeRun(QStringLiteral(" "));
                run.nonBreaking = true;
                paragraphs_.back().runs.push_back(run);
                break;
            }
            case '\\':
            case '{':
            case '}':
                text_ += QChar(k);
                break;
            case 'H': {
                flush();
                const std::string arg(argument());
                const double v = std::strtod(arg.c_str(), nullptr);
                if (v > 0)
                    style_.height =
                        (!arg.empty() && (arg.back() == 'x' || arg.back() == 'X')) ? style_.height * v : v;
                break;
            }
            case 'W': {
                flush();
                const std::string arg(argument());
                const double v = std::strtod(arg.c_str(), nullptr);
                if (v > 0) style_.widthFactor = v;
                break;
            }
            case 'C': {
                flush();
                const int index = std::atoi(std::string(argument()).c_str());
                style_.trueColor.reset();
                if (index >= 1 && index <= 255)
                    style_.colorIndex = index;
                else
                    style_.colorIndex.reset();  // 0 and 256 go back to the entity's colour
                break;
            }
            case 'c': {
                flush();
                // A true colour as one number, 0xBBGGRR as drawings store it.
                const unsigned long v = std::strtoul(std::string(argument()).c_str(), nullptr, 10);
                style_.colorIndex.reset();
                style_.trueColor = QColor(static_cast<int>(v & 0xFF), static_cast<int>((v >> 8) & 0xFF),
                                          static_cast<int>((v >> 16) & 0xFF));
                break;
            }
            case 'S': {
                // Stacked text "a^b", "a/b" or "a#b": shown on one line as a fraction.
                const std::string_view arg = argument();
                QString stacked;
                for (const char ch : arg) {
                    if (ch == '^' || ch == '#')
                        stacked += QChar('/');
                    else
                        stacked += QChar(ch);
                }
                text_ += stacked.trimmed();
                break;
            }
            case 'f':
            case 'F':
            case 'Q':
            case 'T':
            case 'A':
                argument();
                break;
            case 'L':
            case 'l':
                flush(), style_.underline = k == 'L';
                break;
            case 'O':
            case 'o':
                flush(), style_.overline = k == 'O';
                break;
            case 'K':
            case 'k':
                flush(), style_.strikeThrough = k == 'K';
                break;
            default:
                // An unknown code: its letter is left out, as drawing programs do.
                break;
        }
    }

    TextRun makeRun(QString text) const {
        TextRun run;
        run.text = std::move(text);
        run.height = style_.height, run.widthFactor = style_.widthFactor;
        run.colorIndex = style_.colorIndex, run.trueColor = style_.trueColor;
        run.underline = style_.underline, run.overline = style_.overline,
        run.strikeThrough = style_.strikeThrough;
        return run;
    }

    void flush() {
        if (text_.isEmpty()) return;
        paragraphs_.back().runs.push_back(makeRun(text_));
        text_.clear();
    }

    std::string_view s_;
    std::size_t i_ = 0;
    RunStyle style_;
    QString text_;
    std::vector<TextParagraph> paragraphs_;
};

}  // namespace

QString decodeTextCodes(std::string_view text) {
    QString out;
    std::size_t i = 0, plain = 0;
    while (i < text.size()) {
        if (text.substr(i, 2) == "%%") {
            appendUtf8(text.substr(plain, i - plain), out);
            const std::size_t used = appendPercentCode(text.substr(i + 2), out);
            if (used == 0) out += QStringLiteral("%%");
            i += 2 + used, plain = i;
        } else if (text[i] == '\\') {
            QString escaped;
            if (takeUnicodeEscape(text.substr(i), escaped)) {
                appendUtf8(text.substr(plain, i - plain), out);
                out += escaped, i += 7, plain = i;
            } else {
                ++i;
            }
        } else {
            ++i;
        }
    }
    appendUtf8(text.substr(plain), out);
    return out;
}

std::vector<TextParagraph> parseMText(std::string_view contents, double height) {
    return MTextParser(contents, height).parse();
}

}  // namespace vela::render
