#include "host/text/wildcard.h"

#include <vector>

namespace vela::host {

namespace {

bool same(QChar a, QChar b, Qt::CaseSensitivity cs) {
    return a == b || (cs == Qt::CaseInsensitive && a.toCaseFolded() == b.toCaseFolded());
}

// The class "[...]" starting at pattern[i] (the "["): whether `c` is in it, and where the pattern goes on.
bool matchClass(QChar c, QStringView p, qsizetype& i, Qt::CaseSensitivity cs) {
    qsizetype k = i + 1;
    bool negated = false;
    if (k < p.size() && p[k] == u'~') negated = true, ++k;
    bool found = false;
    bool first = true;
    for (; k < p.size() && (p[k] != u']' || first); ++k) {
        first = false;
        QChar lo = p[k];
        if (lo == u'`' && k + 1 < p.size()) lo = p[++k];
        if (k + 2 < p.size() && p[k + 1] == u'-' && p[k + 2] != u']') {
            const QChar hi = p[k + 2];
            const QChar x = cs == Qt::CaseInsensitive ? c.toCaseFolded() : c;
            const QChar a = cs == Qt::CaseInsensitive ? lo.toCaseFolded() : lo;
            const QChar b = cs == Qt::CaseInsensitive ? hi.toCaseFolded() : hi;
            found = found || (x >= a && x <= b);
            k += 2;
        } else {
            found = found || same(c, lo, cs);
        }
    }
    i = k < p.size() ? k + 1 : k;  // past the "]" (an unclosed class runs to the end)
    return found != negated;
}

// One pattern without commas. Iterative with one backtrack point per "*" (the last one): linear in
// practice, and never recursive however long the pattern.
bool matchOne(QStringView t, QStringView p, Qt::CaseSensitivity cs) {
    qsizetype ti = 0, pi = 0;
    qsizetype starP = -1, starT = 0;
    while (ti < t.size()) {
        if (pi < p.size()) {
            const QChar pc = p[pi];
            const QChar c = t[ti];
            qsizetype next = pi + 1;
            bool ok = false;
            switch (pc.unicode()) {
                case '*':
                    starP = ++pi;
                    starT = ti;
                    continue;
                case '?':
                    ok = true;
                    break;
                case '#':
                    ok = c.isDigit();
                    break;
                case '@':
                    ok = c.isLetter();
                    break;
                case '.':
                    ok = !c.isLetterOrNumber();
                    break;
                case '[':
                    next = pi;
                    ok = matchClass(c, p, next, cs);
                    break;
                case '`':
                    if (pi + 1 < p.size()) {
                        ok = same(c, p[pi + 1], cs);
                        next = pi + 2;
                    } else {
                        ok = same(c, pc, cs);
                    }
                    break;
                default:
                    ok = same(c, pc, cs);
            }
            if (ok) {
                pi = next;
                ++ti;
                continue;
            }
        }
        if (starP < 0) return false;
        pi = starP;
        ti = ++starT;
    }
    while (pi < p.size() && p[pi] == u'*') ++pi;
    return pi == p.size();
}

}  // namespace

bool WildcardMatch(QStringView text, QStringView pattern, Qt::CaseSensitivity cs) {
    // Split at commas that are not escaped nor inside a class.
    qsizetype start = 0;
    bool inClass = false;
    for (qsizetype i = 0; i <= pattern.size(); ++i) {
        if (i < pattern.size()) {
            const QChar c = pattern[i];
            if (c == u'`') {
                ++i;
                continue;
            }
            if (c == u'[') inClass = true;
            if (c == u']') inClass = false;
            if (c != u',' || inClass) continue;
        }
        QStringView one = pattern.mid(start, i - start);
        bool negate = false;
        if (!one.isEmpty() && one[0] == u'~') negate = true, one = one.mid(1);
        if (matchOne(text, one, cs) != negate) return true;
        start = i + 1;
    }
    return false;
}

}  // namespace vela::host
