#pragma once

#include <unicode/locid.h>

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// One row of the locale table.
struct NLSConfigEntry {
    const char* key;    ///< a spelling of a locale, reduced to upper-case letters and digits
    const char* value;  ///< the standard locale value that it stands for
};

/// The order of the locale table: compares the keys as unsigned bytes and returns -1, 0 or 1.
KELINFRA_EXPORT int compare(NLSConfigEntry* a, NLSConfigEntry* b);

/// The authority on locale names: folds every spelling of a locale ("en_US", "en-US.UTF-8", "ENU",
/// "iw") to one of 117 standard values of the form "enUS".
///
/// A name is looked up twice: with everything but ASCII letters and digits dropped and in upper
/// case, and, if that is unknown, once more up to its first '.', so that a code set does not
/// matter. Names are cut to 63 bytes.
///
/// Returned strings are NUL-terminated, static and never null. Nothing here throws.
///
/// Thread-safety: all operations may run in any number of threads.
class KELINFRA_EXPORT NLSUtility {
  public:
    NLSUtility();
    ~NLSUtility();
    NLSUtility(const NLSUtility&) = delete;
    NLSUtility& operator=(const NLSUtility&) = delete;

    /// The one instance of the process, created on first use.
    static NLSUtility& getInstance();

    /// Whether the name is known; an alias counts. False for null and "".
    bool isSupported(const char* name) const;

    /// The standard value for the name. Careful: a name that is not understood, null or "" gives
    /// the default locale, no error.
    const char* getStandardLocaleValue(const char* name) const;

    /// Sets `out` to language and country of the name's standard value, "en_US" for a name that is
    /// not understood. Null and "" give ICU's default locale.
    void getLocale(icu::Locale& out, const char* name) const;

    /// The value of the row "DEFAULTLOCALE": "enUS".
    const char* getDefaultLocale() const;

    /// The standard value for ICU's default locale, which ICU derives from the environment of the
    /// process on its first use.
    const char* getEnvironmentLocale();

    /// The name of ICU's default converter, the same pointer on every call: "UTF-8" on this
    /// platform.
    static const char* getDefaultCodePage();
    /// The code page of terminals: the default one on this platform. The same pointer on every
    /// call.
    static const char* getCommandWindowCodePage();

    /// The getNumPrimaryLocales() upper-case keys of the standard values, "ENUS" first. Static.
    const char* const* getPrimaryLocales() const;
    /// 117.
    int getNumPrimaryLocales() const;

    /// "enUS".
    static const char* const DEFAULT_LOCALE;
    /// "UTF-8".
    static const char* const UTF8_CODE_PAGE;
};

}  // namespace nx::oss
