#include "db/entities/modeler_data.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <set>

namespace vela::db::sat {

std::string decode(std::string_view stored) {
    std::string text;
    text.reserve(stored.size());
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const auto c = static_cast<unsigned char>(stored[i]);
        if (c == 0x20)
            text += ' ';
        else if (c == 0x40)
            text += '_';
        else if (c == 0x5F)
            text += '@';
        else if (c >= 0x41 && c <= 0x5E) {
            text += static_cast<char>(0x41 + (0x5E - c));
            // An "A" is stored with a space after it.
            if (c == 0x5E && i + 1 < stored.size() && stored[i + 1] == ' ') ++i;
        } else
            text += static_cast<char>(c ^ 0x5F);
    }
    return text;
}

std::string encode(std::string_view text) {
    std::string stored;
    stored.reserve(text.size() + 8);
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == ' ')
            stored += ' ';
        else if (c == '_')
            stored += '@';
        else if (c == '@')
            stored += '_';
        else if (c >= 0x41 && c <= 0x5E) {
            stored += static_cast<char>(0x5E - (c - 0x41));
            if (c == 'A') stored += ' ';
        } else
            stored += static_cast<char>(c ^ 0x5F);
    }
    return stored;
}

namespace {

// A line of the text: where its groups are, what they say.
struct Line {
    std::size_t firstGroup = 0, endGroup = 0;  // [first, end) in the groups
    std::string text;                          // decoded
};

std::vector<Line> readLines(const std::vector<DxfTag>& groups) {
    std::vector<Line> out;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const DxfTag& g = groups[i];
        if (g.code == 1) {
            out.push_back({i, i + 1, g.value});
        } else if (g.code == 3 && !out.empty() && out.back().endGroup == i) {
            out.back().text += g.value;
            out.back().endGroup = i + 1;
        }
    }
    for (Line& l : out) l.text = decode(l.text);
    return out;
}

struct Token {
    std::size_t line, begin, end;  // in the decoded text of the line
};

struct Record {
    std::vector<Token> tokens;  // without a leading sequence number, with the closing "#"
    bool oneLine = true;
};

struct Parsed {
    int version = 0;
    long long recordCount = 0;                 // 0 when the header does not count them
    std::size_t countBegin = 0, countEnd = 0;  // where the header gives the count
    std::vector<Record> records;
    std::size_t endLine = 0;  // the line of the end marker (or the count of lines)
    bool numbered = false;
};

std::string_view textOf(const std::vector<Line>& lines, const Token& t) {
    return std::string_view(lines[t.line].text).substr(t.begin, t.end - t.begin);
}

bool parseInt(std::string_view s, long long& v) {
    return !s.empty() && std::from_chars(s.data(), s.data() + s.size(), v).ptr == s.data() + s.size();
}

bool parseDouble(std::string_view s, double& v) {
    return !s.empty() && std::from_chars(s.data(), s.data() + s.size(), v).ptr == s.data() + s.size();
}

// Splits the records after the three header lines. False for what is not understood well enough to edit.
bool parse(const std::vector<Line>& lines, Parsed& p) {
    if (lines.size() < 4) return false;
    // Header: version, record count, body count, history flag.
    {
        std::vector<long long> numbers;
        const std::string& s = lines[0].text;
        std::size_t i = 0;
        while (i < s.size()) {
            while (i < s.size() && s[i] == ' ') ++i;
            std::size_t j = i;
            while (j < s.size() && s[j] != ' ') ++j;
            if (j > i) {
                long long v = 0;
                if (!parseInt(std::string_view(s).substr(i, j - i), v)) return false;
                if (numbers.size() == 1) p.countBegin = i, p.countEnd = j;
                numbers.push_back(v);
            }
            i = j;
        }
        if (numbers.size() < 4 || numbers[0] < 400 || numbers[3] != 0) return false;
        p.version = static_cast<int>(numbers[0]);
        p.recordCount = numbers[1];
    }
    Record current;
    p.endLine = lines.size();
    for (std::size_t li = 3; li < lines.size(); ++li) {
        const std::string& s = lines[li].text;
        std::size_t i = 0;
        while (i < s.size()) {
            while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\r')) ++i;
            if (i >= s.size()) break;
            std::size_t j = i;
            if (s[i] == '@' && i + 1 < s.size() && std::isdigit(static_cast<unsigned char>(s[i + 1]))) {
                // A string: "@<length> <characters>".
                std::size_t k = i + 1;
                while (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) ++k;
                long long n = 0;
                if (!parseInt(std::string_view(s).substr(i + 1, k - i - 1), n) || k >= s.size() ||
                    s[k] != ' ')
                    return false;
                j = k + 1 + static_cast<std::size_t>(n);
                if (j > s.size()) return false;
            } else {
                while (j < s.size() && s[j] != ' ' && s[j] != '\t' && s[j] != '\r') ++j;
            }
            const std::string_view word = std::string_view(s).substr(i, j - i);
            if (current.tokens.empty() && word.starts_with("End-of-")) {
                p.endLine = li;
                return true;
            }
            if (word.size() > 1 && word.back() == '#') return false;
            if (current.tokens.empty() && word.size() > 1 && word[0] == '-' &&
                std::isdigit(static_cast<unsigned char>(word[1]))) {
                // A sequence number: it must count the records from 0.
                long long n = -1;
                if (!parseInt(word.substr(1), n) || n != static_cast<long long>(p.records.size()))
                    return false;
                p.numbered = true;
            } else {
                if (!current.tokens.empty() && current.tokens.front().line != li) current.oneLine = false;
                current.tokens.push_back({li, i, j});
                if (word == "#") {
                    p.records.push_back(std::move(current));
                    current = Record();
                }
            }
            i = j;
        }
    }
    return current.tokens.empty();
}

// The index a pointer "$n" names; -1 for the null pointer; nullopt for what is no pointer.
std::optional<long long> pointer(std::string_view s) {
    long long v = 0;
    if (s.size() < 2 || s[0] != '$' || !parseInt(s.substr(1), v)) return std::nullopt;
    return v;
}

// A transform record's numbers: 12 values, the scale, three words, "#" at the end of its tokens.
constexpr std::size_t kTransformTail = 17;

bool readPlacement(const std::vector<Line>& lines, const Record& r, Placement& placement) {
    const auto& t = r.tokens;
    if (t.size() < kTransformTail + 1 || textOf(lines, t[0]) != "transform") return false;
    const std::size_t first = t.size() - kTransformTail;
    double v[13];
    for (std::size_t k = 0; k < 13; ++k)
        if (!parseDouble(textOf(lines, t[first + k]), v[k])) return false;
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col) placement.rows[row][col] = v[row * 3 + col];
    for (int k = 0; k < 3; ++k) placement.translation[k] = v[9 + k];
    placement.scale = v[12];
    return true;
}

std::string number(double v) {
    if (v == 0.0) v = 0.0;  // no "-0"
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, res.ptr);
}

// The words and numbers of a placement, from the 12 values to the closing "#".
std::string placementText(const Placement& p) {
    std::string s;
    for (const auto& row : p.rows)
        for (double v : row) s += number(v) + ' ';
    for (double v : p.translation) s += number(v) + ' ';
    s += number(p.scale) + ' ';
    bool rotated = false;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            rotated = rotated || std::abs(p.rows[r][c] - (r == c ? 1.0 : 0.0)) > 1e-15;
    s += rotated ? "rotate no_reflect no_shear #" : "no_rotate no_reflect no_shear #";
    return s;
}

// Replaces the groups of line `l` by the groups of `text`, split as files split long lines.
void putLine(std::vector<DxfTag>& groups, const Line& l, const std::string& text, std::ptrdiff_t& shift) {
    const std::string stored = encode(text);
    std::vector<DxfTag> replacement;
    for (std::size_t at = 0; at == 0 || at < stored.size(); at += 255)
        replacement.push_back({at == 0 ? 1 : 3, stored.substr(at, 255)});
    const auto first = groups.begin() + static_cast<std::ptrdiff_t>(l.firstGroup) + shift;
    const auto end = groups.begin() + static_cast<std::ptrdiff_t>(l.endGroup) + shift;
    const auto removed = end - first;
    const auto at = groups.erase(first, end);
    groups.insert(at, replacement.begin(), replacement.end());
    shift += static_cast<std::ptrdiff_t>(replacement.size()) - removed;
}

}  // namespace

std::vector<std::string> lines(const std::vector<DxfTag>& groups) {
    std::vector<std::string> out;
    for (Line& l : readLines(groups)) out.push_back(std::move(l.text));
    return out;
}

Matrix3d Placement::matrix() const {
    Matrix3d m;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) m(r, c) = scale * rows[c][r];
        m(r, 3) = translation[r];
    }
    return m;
}

std::optional<Placement> bodyPlacement(const std::vector<DxfTag>& groups) {
    const std::vector<Line> ls = readLines(groups);
    Parsed p;
    if (!parse(ls, p)) return std::nullopt;
    for (const Record& r : p.records) {
        if (textOf(ls, r.tokens[0]) != "body" || r.tokens.size() < 2) continue;
        const auto ptr = pointer(textOf(ls, r.tokens[r.tokens.size() - 2]));
        if (!ptr) return std::nullopt;
        Placement placement;
        if (*ptr < 0) return placement;
        if (*ptr >= static_cast<long long>(p.records.size()) ||
            !readPlacement(ls, p.records[static_cast<std::size_t>(*ptr)], placement))
            return std::nullopt;
        return placement;
    }
    return std::nullopt;
}

ErrorStatus composeTransform(std::vector<DxfTag>& groups, const Matrix3d& m) {
    // Only rotations and translations with a positive uniform scale: the kernel's placement holds them.
    if (!m.isAffine() || !m.isUniformScaledOrthogonal() || !(m.determinant() > 0.0))
        return ErrorStatus::CannotTransform;
    const double k = m.scaleFactor();
    if (!(k > 0.0) || !std::isfinite(k)) return ErrorStatus::CannotTransform;
    double rot[3][3];  // the rotation, column-vector form
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rot[r][c] = m(r, c) / k;

    const std::vector<Line> ls = readLines(groups);
    for (const Line& l : ls) {
        std::string stored;
        for (std::size_t g = l.firstGroup; g < l.endGroup; ++g) stored += groups[g].value;
        if (encode(l.text) != stored) return ErrorStatus::CannotTransform;
    }
    Parsed p;
    if (!parse(ls, p)) return ErrorStatus::CannotTransform;

    // The transform record of each body, or none (-1); a body's record must be on one line.
    std::vector<std::size_t> bodies;
    std::set<long long> placements;
    for (std::size_t i = 0; i < p.records.size(); ++i) {
        const Record& r = p.records[i];
        if (textOf(ls, r.tokens[0]) != "body") continue;
        if (!r.oneLine || r.tokens.size() < 3) return ErrorStatus::CannotTransform;
        const auto ptr = pointer(textOf(ls, r.tokens[r.tokens.size() - 2]));
        if (!ptr || *ptr >= static_cast<long long>(p.records.size())) return ErrorStatus::CannotTransform;
        if (*ptr >= 0) {
            const Record& t = p.records[static_cast<std::size_t>(*ptr)];
            Placement unused;
            if (!t.oneLine || !readPlacement(ls, t, unused)) return ErrorStatus::CannotTransform;
            placements.insert(*ptr);
        }
        bodies.push_back(i);
    }
    if (bodies.empty()) return ErrorStatus::CannotTransform;

    auto composed = [&](Placement a) {
        // p' = k R (s0 A0^T p + t0) + d: rows' = A0 R^T, scale' = k s0, translation' = k R t0 + d.
        Placement b;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) {
                double v = 0.0;
                for (int j = 0; j < 3; ++j) v += a.rows[r][j] * rot[c][j];
                b.rows[r][c] = v;
            }
        for (int r = 0; r < 3; ++r) {
            double v = m(r, 3);
            for (int j = 0; j < 3; ++j) v += m(r, j) * a.translation[j];
            b.translation[r] = v;
        }
        b.scale = a.scale * k;
        return b;
    };

    // New text per line; lines are edited from the last so that earlier positions stay valid.
    std::vector<std::string> texts;
    for (const Line& l : ls) texts.push_back(l.text);
    // Each line is edited once at most, so positions found before stay valid.
    std::set<std::size_t> edited;
    auto claim = [&](std::size_t line) { return edited.insert(line).second; };
    for (long long index : placements) {
        const Record& t = p.records[static_cast<std::size_t>(index)];
        Placement a;
        readPlacement(ls, t, a);
        const Token& from = t.tokens[t.tokens.size() - kTransformTail];
        const Token& hash = t.tokens.back();
        if (!claim(from.line)) return ErrorStatus::CannotTransform;
        std::string& s = texts[from.line];
        s = s.substr(0, from.begin) + placementText(composed(a)) + s.substr(hash.end);
    }
    std::string added;
    long long nextIndex = static_cast<long long>(p.records.size());
    for (std::size_t b : bodies) {
        const Record& r = p.records[b];
        const Token& ptrToken = r.tokens[r.tokens.size() - 2];
        if (*pointer(textOf(ls, ptrToken)) >= 0) continue;
        if (!claim(ptrToken.line)) return ErrorStatus::CannotTransform;
        std::string& s = texts[ptrToken.line];
        s = s.substr(0, ptrToken.begin) + "$" + std::to_string(nextIndex) + s.substr(ptrToken.end);
        std::string record;
        if (p.numbered) record.append("-").append(std::to_string(nextIndex)).append(" ");
        record += p.version >= 700 ? "transform $-1 -1 " : "transform $-1 ";
        record += placementText(composed(Placement()));
        if (!added.empty()) added += '\n';
        added += record;
        ++nextIndex;
    }

    // A header that counts the records counts the new ones.
    const long long addedRecords = nextIndex - static_cast<long long>(p.records.size());
    if (addedRecords > 0 && p.recordCount != 0)
        texts[0] = texts[0].substr(0, p.countBegin) + std::to_string(p.recordCount + addedRecords) +
                   texts[0].substr(p.countEnd);

    std::vector<DxfTag> result = groups;
    std::ptrdiff_t shift = 0;
    for (std::size_t i = 0; i < ls.size(); ++i)
        if (texts[i] != ls[i].text) putLine(result, ls[i], texts[i], shift);
    if (!added.empty()) {
        // New records go before the end marker (or after the last line).
        std::size_t at = p.endLine < ls.size() ? ls[p.endLine].firstGroup : ls.back().endGroup;
        at = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at) + shift);
        std::vector<DxfTag> inserted;
        std::size_t start = 0;
        while (start <= added.size()) {
            const std::size_t nl = std::min(added.find('\n', start), added.size());
            const std::string stored = encode(added.substr(start, nl - start));
            for (std::size_t c = 0; c == 0 || c < stored.size(); c += 255)
                inserted.push_back({c == 0 ? 1 : 3, stored.substr(c, 255)});
            start = nl + 1;
        }
        result.insert(result.begin() + static_cast<std::ptrdiff_t>(at), inserted.begin(), inserted.end());
    }
    groups = std::move(result);
    return ErrorStatus::Ok;
}

}  // namespace vela::db::sat
