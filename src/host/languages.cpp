#include "host/languages.h"

#include <QLocale>
#include <array>

namespace vela::host {

namespace {

struct Language {
    int id;
    QLocale::Language locale;
    const char* code;
};

// The numbers are the host's own and stay as they are once given out: settings files store them.
constexpr std::array kLanguages{
    Language{1, QLocale::German, "de"},   Language{2, QLocale::English, "en"},
    Language{3, QLocale::French, "fr"},   Language{4, QLocale::Spanish, "es"},
    Language{5, QLocale::Italian, "it"},  Language{6, QLocale::Polish, "pl"},
    Language{7, QLocale::Czech, "cs"},    Language{8, QLocale::Portuguese, "pt"},
    Language{9, QLocale::Russian, "ru"},  Language{10, QLocale::Japanese, "ja"},
    Language{11, QLocale::Chinese, "zh"}, Language{12, QLocale::Korean, "ko"},
    Language{13, QLocale::Turkish, "tr"}, Language{14, QLocale::Hungarian, "hu"},
    Language{15, QLocale::Dutch, "nl"},
};

}  // namespace

int systemLanguageId() {
    const QLocale::Language system = QLocale::system().language();
    for (const Language& l : kLanguages)
        if (l.locale == system) return l.id;
    return kEnglishLanguage;
}

QString languageCode(int id) {
    for (const Language& l : kLanguages)
        if (l.id == id) return QString::fromLatin1(l.code);
    return languageCode(kEnglishLanguage);
}

}  // namespace vela::host
