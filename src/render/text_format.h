#pragma once

#include <QColor>
#include <QString>
#include <optional>
#include <string_view>
#include <vector>

namespace vela::render {

/// The text a single-line text shows (control characters written as "^I" and the like shown as spaces):
/// "%%c", "%%d", "%%p" as the diameter, degree and plus-minus signs,
/// "%%nnn" as the character with that code, "%%%" as a percent sign; "%%u" and "%%o" (underline and overline
/// switches) left out; "\U+XXXX" as that character.
QString decodeTextCodes(std::string_view text);

/// A piece of multi-line text drawn in one style.
struct TextRun {
    QString text;
    double height = 1.0;  // absolute text height, drawing units
    double widthFactor = 1.0;
    std::optional<int> colorIndex;    // a palette index given by \C
    std::optional<QColor> trueColor;  // a colour given by \c
    bool nonBreaking = false;         // made of \~ spaces: no line break inside
    bool underline = false, overline = false, strikeThrough = false;
};

/// A paragraph: the runs between two \P, and its alignment when a \p code gave one.
struct TextParagraph {
    enum class Align { Left, Center, Right };
    std::vector<TextRun> runs;
    std::optional<Align> align;  // none: as the attachment point says
};

/// Splits multi-line text contents into paragraphs of runs, applying the inline codes that change how text
/// looks here (\P paragraphs, {} groups, \H height (absolute or with "x" relative), \W width factor, \C and
/// \c colours, \p paragraph alignment, \~ non-breaking space, \S stacked text shown as "a/b", \\ \{ \}
/// literal characters, %% codes) and dropping those it does not render (\f fonts, \L \l \O \o \K \k lines, \Q
/// \T \A settings, indents and tabs of \p).
std::vector<TextParagraph> parseMText(std::string_view contents, double height);

}  // namespace vela::render
