#include "db/dxf/tags/text_codec.h"

#include <gtest/gtest.h>

#include <string>

#include "binary_dxf_builder.h"
#include "db/dxf/file/header_scan.h"

namespace vela::db::dxf {
namespace {

TEST(DecodeText, CodePageBytesBecomeUtf8) {
    EXPECT_EQ(decodeText("caf\xE9 \x80 \x9F", CodePage::Ansi1252), "café € Ÿ");
    EXPECT_EQ(decodeText("\xCF\xF0\xE8", CodePage::Ansi1251), "При");
    EXPECT_EQ(decodeText("\x82", CodePage::Dos850), "é");
    EXPECT_EQ(decodeText("\x93\xFA\x96\x7B", CodePage::Ansi932), "日本");
    EXPECT_EQ(decodeText("\xC7\xD1", CodePage::Ansi949), "한");
    EXPECT_EQ(decodeText("plain", CodePage::Ansi936), "plain");
}

TEST(DecodeText, ExpandsEscapesButNotLookAlikes) {
    EXPECT_EQ(decodeText("caf\\U+00E9", CodePage::Ansi1252), "café");
    EXPECT_EQ(decodeText("\\U+65e5\\U+672C", CodePage::Utf8), "日本");
    EXPECT_EQ(decodeText("\\U+D83D\\U+DE00!", CodePage::Ansi1252), "😀!");
    EXPECT_EQ(decodeText("\\M+193FA\\M+5D6D0", CodePage::Ansi1252), "日中");
    // Not escapes: too few digits, other letters, Windows paths.
    EXPECT_EQ(decodeText("\\U+12 \\u+00E9 C:\\Users \\M+9ABCD", CodePage::Ansi1252),
              "\\U+12 \\u+00E9 C:\\Users \\M+9ABCD");
    // 0x835C is one Shift_JIS character whose second byte is the backslash: "U+0041" after it is text.
    EXPECT_EQ(decodeText("\x83\x5CU+0041", CodePage::Ansi932), "ソU+0041");
}

TEST(DecodeText, UndecodableInputBecomesReplacementCharacters) {
    EXPECT_EQ(decodeText("a\x81", CodePage::Ansi1252), "a\uFFFD");
    EXPECT_EQ(decodeText("\x93", CodePage::Ansi932), "\uFFFD");         // lead byte cut off
    EXPECT_EQ(decodeText("\x85\x40x", CodePage::Ansi932), "\uFFFD@x");  // unassigned pair
    EXPECT_EQ(decodeText("\xC3(\xE0\x80\x80", CodePage::Utf8), "\uFFFD(\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(decodeText("\xED\xA0\x80", CodePage::Utf8), "\uFFFD\uFFFD\uFFFD");  // encoded surrogate
    EXPECT_EQ(decodeText("\\U+D800x\\U+DC00\\U+0000", CodePage::Utf8), "\uFFFDx\uFFFD\uFFFD");
}

TEST(EncodeText, EscapesWhatTheCodePageLacks) {
    EXPECT_EQ(encodeText("café €", CodePage::Ansi1252), "caf\xE9 \x80");
    EXPECT_EQ(encodeText("日本", CodePage::Ansi1252), "\\U+65E5\\U+672C");
    EXPECT_EQ(encodeText("日本", CodePage::Ansi932), "\x93\xFA\x96\x7B");
    EXPECT_EQ(encodeText("😀", CodePage::Ansi1251), "\\U+D83D\\U+DE00");
    EXPECT_EQ(encodeText("x\xFFy", CodePage::Utf8), "x\uFFFDy");
}

TEST(EncodeText, DecodingGivesBackTheTextInEveryCodePage) {
    const std::string text = "Ab é € Ж ש 日本 한 😀 ソ\\ end";
    for (int i = 0; i <= static_cast<int>(CodePage::MacRoman); ++i) {
        const auto cp = static_cast<CodePage>(i);
        EXPECT_EQ(decodeText(encodeText(text, cp), cp), text) << codePageName(cp);
        EXPECT_EQ(codePageFromName(codePageName(cp)), cp) << codePageName(cp);
    }
}

TEST(CodePageNames, AcceptTheSpellingsFoundInFiles) {
    EXPECT_EQ(codePageFromName("ANSI_1252"), CodePage::Ansi1252);
    EXPECT_EQ(codePageFromName(" ansi_932 "), CodePage::Ansi932);
    EXPECT_EQ(codePageFromName("dos850"), CodePage::Dos850);
    EXPECT_EQ(codePageFromName("BIG5"), CodePage::Ansi950);
    EXPECT_EQ(codePageFromName("GB2312"), CodePage::Ansi936);
    EXPECT_EQ(codePageFromName("cp1251"), CodePage::Ansi1251);
    for (const char* bad : {"", "ANSI_", "ANSI_9999", "ANSI_1252x", "EBCDIC"})
        EXPECT_FALSE(codePageFromName(bad)) << bad;

    EXPECT_EQ(codePageFor("AC1018", "ANSI_1251"), CodePage::Ansi1251);
    EXPECT_EQ(codePageFor("AC1021", "ANSI_1251"), CodePage::Utf8);
    EXPECT_EQ(codePageFor("AC1032", ""), CodePage::Utf8);
    EXPECT_EQ(codePageFor("AC1009", "NONSENSE"), CodePage::Ansi1252);
    EXPECT_EQ(codePageFor("", ""), CodePage::Ansi1252);
}

TEST(HeaderScan, FindsVersionAndCodePage) {
    const std::string header =
        "999\nmade by hand\n  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1018\n  9\n$INSBASE\n 10\n0.0\n"
        " 20\n0.0\n 30\n0.0\n  9\n$DWGCODEPAGE\n  3\nANSI_1251\n  0\nENDSEC\n";
    const HeaderInfo info = scanHeader(header);
    EXPECT_EQ(info.acadVer, "AC1018");
    EXPECT_EQ(info.dwgCodePage, "ANSI_1251");
    EXPECT_EQ(detectCodePage(header), CodePage::Ansi1251);
    EXPECT_EQ(detectCodePage("\xEF\xBB\xBF" + header), CodePage::Utf8);

    BinaryDxf binary;
    binary.str(0, "SECTION").str(2, "HEADER").str(9, "$ACADVER").str(1, "AC1015");
    binary.str(9, "$DWGCODEPAGE").str(3, "ANSI_932").str(0, "ENDSEC");
    EXPECT_EQ(detectCodePage(binary.data), CodePage::Ansi932);

    // A variable that lost its value must not swallow the next variable's name.
    const std::string damaged = "  0\nSECTION\n  2\nHEADER\n  9\n$DWGCODEPAGE\n  9\n$ACADVER\n  1\nAC1024\n";
    EXPECT_EQ(scanHeader(damaged).acadVer, "AC1024");
}

TEST(HeaderScan, FilesWithoutHeaderAreJudgedByTheirBytes) {
    const std::string entities = "  0\nSECTION\n  2\nENTITIES\n  0\nTEXT\n  1\n";
    EXPECT_EQ(scanHeader(entities + "caf\xC3\xA9\n").acadVer, "");
    EXPECT_EQ(detectCodePage(entities + "caf\xC3\xA9\n"), CodePage::Utf8);
    EXPECT_EQ(detectCodePage(entities + "caf\xE9\n"), CodePage::Ansi1252);
    EXPECT_EQ(detectCodePage("garbage"), CodePage::Utf8);
}

}  // namespace
}  // namespace vela::db::dxf
