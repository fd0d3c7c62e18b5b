#include <infra/oss/kelNLSUtility.h>

#include <infra/oss/kelConstants.h>

#include <langinfo.h>

#include <algorithm>
#include <cstring>

#include <unicode/ucnv.h>

#include "infra/detail/kelLocaleTable.h"
#include "infra/detail/kelTraceScope.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr std::size_t LANGUAGE_LENGTH = 2;

bool isEmptyName(const char* name) { return name == nullptr || *name == '\0'; }

/// A code-page name kept for the rest of the process.
template <std::size_t Longest>
class KeptName {
  public:
    explicit KeptName(const char* name) { std::memcpy(text_, name, strnlen(name, Longest)); }
    const char* get() const { return text_; }

  private:
    char text_[Longest + 1] = {};
};

const char* systemCodePage() {
    if (const char* const name = ucnv_getDefaultName()) {
        return name;
    }
    const char* const name = nl_langinfo(CODESET);
    return name == nullptr ? Constants::CONSTANT_STRING_UTF_8 : name;
}

}  // namespace

const char* const NLSUtility::DEFAULT_LOCALE = "enUS";
const char* const NLSUtility::UTF8_CODE_PAGE = Constants::CONSTANT_STRING_UTF_8;

int compare(NLSConfigEntry* a, NLSConfigEntry* b) {
    const int order = std::strcmp(a->key, b->key);
    return (order > 0) - (order < 0);
}

// The table is ordered when it is compiled, so there is nothing to prepare, and nothing that other
// static objects could still need when the instance goes.
NLSUtility::NLSUtility() { TraceExit trace(TracePoint::NLS_UTILITY_CONSTRUCT); }

NLSUtility::~NLSUtility() { TraceExit trace(TracePoint::NLS_UTILITY_DESTROY); }

NLSUtility& NLSUtility::getInstance() {
    TraceExit trace(TracePoint::NLS_UTILITY_GET_INSTANCE);
    static NLSUtility instance;
    return instance;
}

bool NLSUtility::isSupported(const char* name) const {
    TraceScope trace(TracePoint::NLS_UTILITY_IS_SUPPORTED);
    return !isEmptyName(name) && detail::findLocale(name) != nullptr;
}

const char* NLSUtility::getStandardLocaleValue(const char* name) const {
    TraceScope trace(TracePoint::NLS_UTILITY_GET_STANDARD_LOCALE_VALUE);
    const detail::LocaleRow* const row = isEmptyName(name) ? nullptr : detail::findLocale(name);
    return row == nullptr ? getDefaultLocale() : row->value;
}

void NLSUtility::getLocale(icu::Locale& out, const char* name) const {
    TraceScope trace(TracePoint::NLS_UTILITY_GET_LOCALE);
    if (isEmptyName(name)) {
        out = icu::Locale();
        return;
    }
    // Every standard value is two letters of language followed by two of country.
    const char* const value = getStandardLocaleValue(name);
    const KeptName<LANGUAGE_LENGTH> language(value);
    out = icu::Locale(language.get(), value + LANGUAGE_LENGTH);
}

const char* NLSUtility::getDefaultLocale() const {
    static const detail::LocaleRow* const row = detail::findLocale("DEFAULTLOCALE");
    return row == nullptr ? DEFAULT_LOCALE : row->value;
}

const char* NLSUtility::getEnvironmentLocale() {
    TraceScope trace(TracePoint::NLS_UTILITY_GET_ENVIRONMENT_LOCALE);
    return getStandardLocaleValue(icu::Locale::getDefault().getName());
}

const char* NLSUtility::getDefaultCodePage() {
    static const KeptName<Constants::CODEPAGE_NAME_SIZE> name(systemCodePage());
    return name.get();
}

const char* NLSUtility::getCommandWindowCodePage() {
    static const KeptName<Constants::CODEPAGE_NAME_SIZE - 1> name(getDefaultCodePage());
    return name.get();
}

const char* const* NLSUtility::getPrimaryLocales() const { return detail::PRIMARY_LOCALES; }

int NLSUtility::getNumPrimaryLocales() const { return detail::PRIMARY_LOCALE_COUNT; }

}  // namespace nx::oss
