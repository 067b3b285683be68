#include "db/dxf/tags/text_codec.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <charconv>

namespace vela::db::dxf {

namespace {

struct CodePageInfo {
    CodePage cp;
    int number;             // the number in "ANSI_1252" / "DOS850"
    std::string_view name;  // canonical $DWGCODEPAGE spelling
    const char* iconvName;
    bool doubleByte;
};

// Indexed by CodePage.
constexpr CodePageInfo kCodePages[] = {
    {CodePage::Utf8, 0, "UTF-8", "UTF-8", false},
    {CodePage::Ansi874, 874, "ANSI_874", "CP874", false},
    {CodePage::Ansi932, 932, "ANSI_932", "CP932", true},
    {CodePage::Ansi936, 936, "ANSI_936", "CP936", true},
    {CodePage::Ansi949, 949, "ANSI_949", "CP949", true},
    {CodePage::Ansi950, 950, "ANSI_950", "CP950", true},
    {CodePage::Ansi1250, 1250, "ANSI_1250", "CP1250", false},
    {CodePage::Ansi1251, 1251, "ANSI_1251", "CP1251", false},
    {CodePage::Ansi1252, 1252, "ANSI_1252", "CP1252", false},
    {CodePage::Ansi1253, 1253, "ANSI_1253", "CP1253", false},
    {CodePage::Ansi1254, 1254, "ANSI_1254", "CP1254", false},
    {CodePage::Ansi1255, 1255, "ANSI_1255", "CP1255", false},
    {CodePage::Ansi1256, 1256, "ANSI_1256", "CP1256", false},
    {CodePage::Ansi1257, 1257, "ANSI_1257", "CP1257", false},
    {CodePage::Ansi1258, 1258, "ANSI_1258", "CP1258", false},
    {CodePage::Ansi1361, 1361, "ANSI_1361", "JOHAB", true},
    {CodePage::Dos437, 437, "DOS437", "CP437", false},
    {CodePage::Dos850, 850, "DOS850", "CP850", false},
    {CodePage::Dos852, 852, "DOS852", "CP852", false},
    {CodePage::Dos855, 855, "DOS855", "CP855", false},
    {CodePage::Dos857, 857, "DOS857", "CP857", false},
    {CodePage::Dos860, 860, "DOS860", "CP860", false},
    {CodePage::Dos861, 861, "DOS861", "CP861", false},
    {CodePage::Dos863, 863, "DOS863", "CP863", false},
    {CodePage::Dos864, 864, "DOS864", "CP864", false},
    {CodePage::Dos865, 865, "DOS865", "CP865", false},
    {CodePage::Dos866, 866, "DOS866", "CP866", false},
    {CodePage::Dos869, 869, "DOS869", "CP869", false},
    {CodePage::MacRoman, 0, "MACINTOSH", "MACINTOSH", false},
};
constexpr std::size_t kCodePageCount = std::size(kCodePages);

const CodePageInfo& info(CodePage cp) {
    return kCodePages[static_cast<std::size_t>(cp)];
}

constexpr char32_t kReplacement = 0xFFFD;

// Windows-1252 differs from Latin-1 only in 0x80-0x9F; 0 marks the five unassigned bytes.
constexpr char16_t k1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Decodes one UTF-8 sequence at s[i]; returns its length, or 0 if it is malformed (overlong forms,
// surrogates and values above U+10FFFF included).
std::size_t decodeUtf8(std::string_view s, std::size_t i, char32_t& c) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80) {
        c = b0;
        return 1;
    }
    std::size_t len;
    char32_t min;
    if ((b0 & 0xE0) == 0xC0) {
        len = 2, c = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        len = 3, c = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        len = 4, c = b0 & 0x07, min = 0x10000;
    } else {
        return 0;
    }
    if (s.size() - i < len) return 0;
    for (std::size_t k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(s[i + k]);
        if ((b & 0xC0) != 0x80) return 0;
        c = (c << 6) | (b & 0x3F);
    }
    if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0;
    return len;
}

// iconv descriptors are costly to open and not safe to share between threads, so each thread keeps
// its own, opened on first use.
class Converters {
  public:
    ~Converters() {
        for (auto* table : {&decoders_, &encoders_})
            for (iconv_t cd : *table)
                if (cd != kNone && cd != kFailed) iconv_close(cd);
    }
    iconv_t decoder(CodePage cp) { return get(decoders_, cp, "UTF-8", info(cp).iconvName); }
    iconv_t encoder(CodePage cp) { return get(encoders_, cp, info(cp).iconvName, "UTF-8"); }
    static bool usable(iconv_t cd) { return cd != kFailed; }

  private:
    static inline const iconv_t kNone = nullptr;
    static inline const iconv_t kFailed = reinterpret_cast<iconv_t>(-1);

    iconv_t get(std::array<iconv_t, kCodePageCount>& table, CodePage cp, const char* to, const char* from) {
        iconv_t& cd = table[static_cast<std::size_t>(cp)];
        if (cd == kNone)
            cd = iconv_open(to, from);  // kFailed on error, remembered
        else if (cd != kFailed)
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        return cd;
    }

    std::array<iconv_t, kCodePageCount> decoders_{};
    std::array<iconv_t, kCodePageCount> encoders_{};
};

Converters& converters() {
    thread_local Converters c;
    return c;
}

bool isAscii(std::string_view s) {
    for (char ch : s)
        if (static_cast<unsigned char>(ch) >= 0x80) return false;
    return true;
}

// In double-byte code pages the second byte of a character may be 0x5C, the backslash: the scan for
// escapes must step over whole characters.
bool isLeadByte(CodePage cp, unsigned char b) {
    if (cp == CodePage::Ansi932) return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC);
    return b >= 0x81 && b <= 0xFE;
}

void decodeWithIconv(std::string_view bytes, CodePage cp, std::string& out) {
    iconv_t cd = converters().decoder(cp);
    if (!Converters::usable(cd)) {
        // No converter on this system: keep what is certain (ASCII), mark the rest.
        for (char ch : bytes)
            static_cast<unsigned char>(ch) < 0x80 ? void(out += ch) : appendUtf8(out, kReplacement);
        return;
    }
    char* in = const_cast<char*>(bytes.data());  // iconv's signature is not const-correct
    std::size_t inLeft = bytes.size();
    char buf[512];
    // Vietnamese and Hebrew converters hold back a base letter until they see whether a combining mark
    // follows; flushing emits it before an error mark and at the end.
    const auto flush = [&] {
        char* o = buf;
        std::size_t oLeft = sizeof buf;
        iconv(cd, nullptr, nullptr, &o, &oLeft);
        out.append(buf, o - buf);
    };
    while (inLeft > 0) {
        char* o = buf;
        std::size_t oLeft = sizeof buf;
        const std::size_t r = iconv(cd, &in, &inLeft, &o, &oLeft);
        const int err = errno;
        out.append(buf, o - buf);
        if (r != static_cast<std::size_t>(-1) || err == E2BIG) continue;
        flush();
        appendUtf8(out, kReplacement);
        if (err != EILSEQ) return;  // EINVAL: a character cut off at the end
        ++in, --inLeft;
    }
    flush();
}

// Decodes a run of code-page bytes that holds no escape.
void decodeRun(std::string_view bytes, CodePage cp, std::string& out) {
    if (bytes.empty()) return;
    if (cp == CodePage::Utf8) {
        for (std::size_t i = 0; i < bytes.size();) {
            char32_t c;
            const std::size_t len = decodeUtf8(bytes, i, c);
            if (len == 0) {
                appendUtf8(out, kReplacement);
                ++i;
            } else {
                out.append(bytes.substr(i, len));
                i += len;
            }
        }
    } else if (isAscii(bytes)) {
        out.append(bytes);
    } else if (cp == CodePage::Ansi1252) {
        for (char ch : bytes) {
            const auto b = static_cast<unsigned char>(ch);
            if (b >= 0x80 && b < 0xA0)
                appendUtf8(out, k1252High[b - 0x80] ? k1252High[b - 0x80] : kReplacement);
            else
                appendUtf8(out, b);
        }
    } else {
        // Bytes below 0x80 are ASCII in every DXF code page, but some converters disagree (glibc's
        // JOHAB turns the backslash into a Won sign), so only the non-ASCII characters go to iconv.
        const bool doubleByte = info(cp).doubleByte;
        for (std::size_t i = 0; i < bytes.size();) {
            std::size_t j = i;
            if (static_cast<unsigned char>(bytes[i]) < 0x80) {
                while (j < bytes.size() && static_cast<unsigned char>(bytes[j]) < 0x80) ++j;
                out.append(bytes.substr(i, j - i));
            } else {
                while (j < bytes.size() && static_cast<unsigned char>(bytes[j]) >= 0x80)
                    j += (doubleByte && isLeadByte(cp, static_cast<unsigned char>(bytes[j])) &&
                          j + 1 < bytes.size())
                             ? 2
                             : 1;
                decodeWithIconv(bytes.substr(i, j - i), cp, out);
            }
            i = j;
        }
    }
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Four hex digits at s[i]; -1 if there are not.
int hex4(std::string_view s, std::size_t i) {
    if (s.size() < i + 4) return -1;
    int v = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        const int d = hexValue(s[i + k]);
        if (d < 0) return -1;
        v = v << 4 | d;
    }
    return v;
}

// "\U+nnnn" at s[i], a UTF-16 code unit.
int unicodeEscape(std::string_view s, std::size_t i) {
    if (s.size() < i + 7 || s[i] != '\\' || s[i + 1] != 'U' || s[i + 2] != '+') return -1;
    return hex4(s, i + 3);
}

// The code page number n of "\M+nxxxx".
std::optional<CodePage> mbcsEscapeCodePage(char n) {
    switch (n) {
        case '1':
            return CodePage::Ansi932;
        case '2':
            return CodePage::Ansi950;
        case '3':
            return CodePage::Ansi949;
        case '4':
            return CodePage::Ansi1361;
        case '5':
            return CodePage::Ansi936;
        default:
            return std::nullopt;
    }
}

void appendEscape(std::string& out, char32_t unit) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out += "\\U+";
    for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(unit >> shift) & 15];
}

}  // namespace

std::optional<CodePage> codePageFromName(std::string_view name) {
    while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t' || name.back() == '\r'))
        name.remove_suffix(1);
    std::string upper;
    for (char c : name) upper += (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;

    struct Alias {
        std::string_view name;
        CodePage cp;
    };
    static constexpr Alias kAliases[] = {
        {"UTF8", CodePage::Utf8},
        {"UTF-8", CodePage::Utf8},
        {"BIG5", CodePage::Ansi950},
        {"GB2312", CodePage::Ansi936},
        {"KSC5601", CodePage::Ansi949},
        {"JOHAB", CodePage::Ansi1361},
        {"MACINTOSH", CodePage::MacRoman},
        {"MAC-ROMAN", CodePage::MacRoman},
        // Latin-1 and ASCII files read correctly as 1252, which extends both for printable text.
        {"ISO8859-1", CodePage::Ansi1252},
        {"ASCII", CodePage::Ansi1252},
    };
    for (const Alias& a : kAliases)
        if (upper == a.name) return a.cp;

    std::string_view rest = upper;
    for (std::string_view prefix : {"ANSI_", "ANSI", "DOS_", "DOS", "CP", "WINDOWS-"}) {
        if (rest.starts_with(prefix)) {
            rest.remove_prefix(prefix.size());
            break;
        }
    }
    int number = 0;
    const auto [ptr, ec] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (ec != std::errc() || ptr != rest.data() + rest.size() || rest.empty()) return std::nullopt;
    for (const CodePageInfo& i : kCodePages)
        if (i.number == number && number != 0) return i.cp;
    return std::nullopt;
}

std::string_view codePageName(CodePage cp) {
    return info(cp).name;
}

bool isUnicodeVersion(std::string_view acadVer) {
    while (!acadVer.empty() && (acadVer.front() == ' ' || acadVer.front() == '\t')) acadVer.remove_prefix(1);
    if (acadVer.size() < 3 || (acadVer[0] != 'A' && acadVer[0] != 'a') ||
        (acadVer[1] != 'C' && acadVer[1] != 'c'))
        return false;
    int number = 0;
    const auto [ptr, ec] = std::from_chars(acadVer.data() + 2, acadVer.data() + acadVer.size(), number);
    return ec == std::errc() && number >= 1021;
}

CodePage codePageFor(std::string_view acadVer, std::string_view dwgCodePage) {
    if (isUnicodeVersion(acadVer)) return CodePage::Utf8;
    return codePageFromName(dwgCodePage).value_or(CodePage::Ansi1252);
}

bool isValidUtf8(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        char32_t c;
        const std::size_t len = decodeUtf8(s, i, c);
        if (len == 0) return false;
        i += len;
    }
    return true;
}

std::string decodeText(std::string_view raw, CodePage cp) {
    std::string out;
    out.reserve(raw.size() + raw.size() / 4);
    const bool doubleByte = info(cp).doubleByte;
    std::size_t runStart = 0, i = 0;
    while (i < raw.size()) {
        const auto b = static_cast<unsigned char>(raw[i]);
        if (b != '\\') {
            i += (doubleByte && isLeadByte(cp, b) && i + 1 < raw.size()) ? 2 : 1;
            continue;
        }
        int unit = unicodeEscape(raw, i);
        if (unit >= 0) {
            decodeRun(raw.substr(runStart, i - runStart), cp, out);
            i += 7;
            char32_t c = static_cast<char32_t>(unit);
            if (unit >= 0xD800 && unit <= 0xDBFF) {
                const int low = unicodeEscape(raw, i);
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(low) - 0xDC00);
                    i += 7;
                } else {
                    c = kReplacement;
                }
            } else if ((unit >= 0xDC00 && unit <= 0xDFFF) || unit == 0) {
                c = kReplacement;  // a lone low surrogate, or a NUL that would cut the string
            }
            appendUtf8(out, c);
            runStart = i;
            continue;
        }
        if (raw.size() >= i + 8 && raw[i + 1] == 'M' && raw[i + 2] == '+') {
            const auto mbcs = mbcsEscapeCodePage(raw[i + 3]);
            const int code = hex4(raw, i + 4);
            if (mbcs && code >= 0) {
                decodeRun(raw.substr(runStart, i - runStart), cp, out);
                const char bytes[2] = {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
                const std::string_view character =
                    (code >> 8) ? std::string_view(bytes, 2) : std::string_view(bytes + 1, 1);
                decodeWithIconv(character, *mbcs, out);
                i += 8;
                runStart = i;
                continue;
            }
        }
        ++i;  // a backslash that starts no escape is text
    }
    decodeRun(raw.substr(runStart), cp, out);
    return out;
}

std::string encodeText(std::string_view utf8, CodePage cp) {
    std::string out;
    out.reserve(utf8.size());
    iconv_t cd = nullptr;
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t c;
        std::size_t len = decodeUtf8(utf8, i, c);
        if (len == 0) c = kReplacement, len = 1;
        const std::string_view sequence = utf8.substr(i, len);
        i += len;
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        if (cp == CodePage::Utf8) {
            c == kReplacement ? appendUtf8(out, c) : void(out.append(sequence));
            continue;
        }
        if (cp == CodePage::Ansi1252) {
            if (c >= 0xA0 && c <= 0xFF) {
                out += static_cast<char>(c);
                continue;
            }
            bool found = false;
            for (int k = 0; k < 32 && !found; ++k) {
                if (k1252High[k] != 0 && k1252High[k] == c) {
                    out += static_cast<char>(0x80 + k);
                    found = true;
                }
            }
            if (found) continue;
        } else if (c != kReplacement) {
            if (!cd) cd = converters().encoder(cp);
            if (Converters::usable(cd)) {
                char* in = const_cast<char*>(sequence.data());
                std::size_t inLeft = sequence.size();
                char buf[8];
                char* o = buf;
                std::size_t oLeft = sizeof buf;
                if (iconv(cd, &in, &inLeft, &o, &oLeft) != static_cast<std::size_t>(-1)) {
                    out.append(buf, o - buf);
                    continue;
                }
                iconv(cd, nullptr, nullptr, nullptr, nullptr);
            }
        }
        if (c >= 0x10000) {
            appendEscape(out, 0xD800 + ((c - 0x10000) >> 10));
            appendEscape(out, 0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            appendEscape(out, c);
        }
    }
    return out;
}

}  // namespace vela::db::dxf
