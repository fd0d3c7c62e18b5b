#include "infra/detail/kelLocaleTable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "infra/detail/kelAsciiText.h"

namespace nx::oss::detail {

// Some aliases map outside their own language (EST, SLK, NR, SRL, IN). They are published that way.
constexpr LocaleRow LOCALE_TABLE[] = {
    {"AR", "arAA"},   {"ARA", "arSA"},
    {"ARAA", "arAA"}, {"ARAE", "arAE"},
    {"ARB", "arLB"},  {"ARBH", "arBH"},
    {"ARDZ", "arDZ"}, {"ARE", "arEG"},
    {"AREG", "arEG"}, {"ARG", "arDZ"},
    {"ARH", "arBH"},  {"ARI", "arAA"},
    {"ARIQ", "arAA"}, {"ARJ", "arJO"},
    {"ARJO", "arJO"}, {"ARK", "arKW"},
    {"ARKW", "arKW"}, {"ARL", "arAA"},
    {"ARLB", "arLB"}, {"ARLY", "arAA"},
    {"ARM", "arMA"},  {"ARMA", "arMA"},
    {"ARO", "arOM"},  {"AROM", "arOM"},
    {"ARQ", "arQA"},  {"ARQA", "arQA"},
    {"ARS", "arSY"},  {"ARSA", "arSA"},
    {"ARSD", "arAA"}, {"ARSY", "arSY"},
    {"ART", "arTN"},  {"ARTN", "arTN"},
    {"ARU", "arAE"},  {"ARY", "arYE"},
    {"ARYE", "arYE"}, {"AS", "asIN"},
    {"ASIN", "asIN"}, {"ASM", "asIN"},
    {"AZ", "azAZ"},   {"AZAZ", "azAZ"},
    {"BE", "beBY"},   {"BEBY", "beBY"},
    {"BEL", "beBY"},  {"BEN", "bnIN"},
    {"BG", "bgBG"},   {"BGBG", "bgBG"},
    {"BGR", "bgBG"},  {"BN", "bnIN"},
    {"BNIN", "bnIN"}, {"CA", "caES"},
    {"CAES", "caES"}, {"CAT", "caES"},
    {"CES", "csCZ"},  {"CHS", "zhCN"},
    {"CHT", "zhTW"},  {"CS", "csCZ"},
    {"CSCZ", "csCZ"}, {"CSY", "csCZ"},
    {"CY", "cyGB"},   {"CYGB", "cyGB"},
    {"CYM", "cyGB"},  {"CYUK", "cyGB"},
    {"CZ", "csCZ"},   {"DA", "daDK"},
    {"DADK", "daDK"}, {"DAN", "daDK"},
    {"DE", "deDE"},   {"DEA", "deAT"},
    {"DEAT", "deAT"}, {"DEBE", "deDE"},
    {"DEC", "deDE"},  {"DECH", "deCH"},
    {"DEDE", "deDE"}, {"DEFAULTLOCALE", "enUS"},
    {"DEL", "deLU"},  {"DELI", "deDE"},
    {"DELU", "deLU"}, {"DES", "deCH"},
    {"DEU", "deDE"},  {"EL", "elGR"},
    {"ELGR", "elGR"}, {"ELL", "elGR"},
    {"EN", "enUS"},   {"ENA", "enAU"},
    {"ENAU", "enAU"}, {"ENB", "enUS"},
    {"ENBE", "enBE"}, {"ENBW", "enUS"},
    {"ENBZ", "enUS"}, {"ENC", "enCA"},
    {"ENCA", "enCA"}, {"ENDK", "enUS"},
    {"ENG", "enGB"},  {"ENGB", "enGB"},
    {"ENHK", "enHK"}, {"ENI", "enIE"},
    {"ENIE", "enIE"}, {"ENIN", "enIN"},
    {"ENJ", "enUS"},  {"ENJM", "enUS"},
    {"ENL", "enUS"},  {"ENNZ", "enNZ"},
    {"ENPH", "enPH"}, {"ENPK", "enPK"},
    {"ENS", "enZA"},  {"ENSG", "enSG"},
    {"ENT", "enUS"},  {"ENTT", "enUS"},
    {"ENU", "enUS"},  {"ENUS", "enUS"},
    {"ENW", "enUS"},  {"ENZ", "enNZ"},
    {"ENZA", "enZA"}, {"ENZW", "enUS"},
    {"ES", "esES"},   {"ESA", "esPA"},
    {"ESAR", "esAR"}, {"ESB", "esBO"},
    {"ESBO", "esBO"}, {"ESC", "esCR"},
    {"ESCL", "esCL"}, {"ESCO", "esCO"},
    {"ESCR", "esCR"}, {"ESD", "esDO"},
    {"ESDO", "esDO"}, {"ESE", "esSV"},
    {"ESEC", "esEC"}, {"ESES", "esES"},
    {"ESF", "esEC"},  {"ESG", "esGT"},
    {"ESGT", "esGT"}, {"ESH", "esHN"},
    {"ESHN", "esHN"}, {"ESI", "esNI"},
    {"ESL", "esCL"},  {"ESM", "esMX"},
    {"ESMX", "esMX"}, {"ESN", "esES"},
    {"ESNI", "esNI"}, {"ESO", "esCO"},
    {"ESP", "esES"},  {"ESPA", "esPA"},
    {"ESPE", "esPE"}, {"ESPR", "esPR"},
    {"ESPY", "esPY"}, {"ESR", "esPE"},
    {"ESS", "esAR"},  {"ESSV", "esSV"},
    {"EST", "etEE"},  {"ESU", "esPR"},
    {"ESUS", "esUS"}, {"ESUY", "esUY"},
    {"ESV", "esVE"},  {"ESVE", "esVE"},
    {"ESY", "esUY"},  {"ESZ", "esPY"},
    {"ET", "etEE"},   {"ETEE", "etEE"},
    {"ETI", "etEE"},  {"FI", "fiFI"},
    {"FIFI", "fiFI"}, {"FIN", "fiFI"},
    {"FR", "frFR"},   {"FRA", "frFR"},
    {"FRB", "frBE"},  {"FRBE", "frBE"},
    {"FRC", "frCA"},  {"FRCA", "frCA"},
    {"FRCH", "frCH"}, {"FRFR", "frFR"},
    {"FRL", "frLU"},  {"FRLU", "frLU"},
    {"FRS", "frCH"},  {"GU", "guIN"},
    {"GUIN", "guIN"}, {"GUJ", "guIN"},
    {"HE", "heIL"},   {"HEB", "heIL"},
    {"HEIL", "heIL"}, {"HI", "hiIN"},
    {"HIIN", "hiIN"}, {"HIN", "hiIN"},
    {"HR", "hrHR"},   {"HRHR", "hrHR"},
    {"HRV", "hrHR"},  {"HU", "huHU"},
    {"HUHU", "huHU"}, {"HUN", "huHU"},
    {"ID", "idID"},   {"IDID", "idID"},
    {"IN", "idID"},   {"IND", "idID"},
    {"INID", "idID"}, {"IS", "isIS"},
    {"ISIS", "isIS"}, {"ISL", "isIS"},
    {"IT", "itIT"},   {"ITA", "itIT"},
    {"ITCH", "itCH"}, {"ITIT", "itIT"},
    {"ITS", "itCH"},  {"IW", "heIL"},
    {"IWIL", "heIL"}, {"JA", "jaJP"},
    {"JAJP", "jaJP"}, {"JPN", "jaJP"},
    {"KAN", "knIN"},  {"KAZ", "kkKZ"},
    {"KK", "kkKZ"},   {"KKKZ", "kkKZ"},
    {"KKZ", "kkKZ"},  {"KN", "knIN"},
    {"KNIN", "knIN"}, {"KO", "koKR"},
    {"KOKR", "koKR"}, {"KOR", "koKR"},
    {"LAV", "lvLV"},  {"LIT", "ltLT"},
    {"LT", "ltLT"},   {"LTH", "ltLT"},
    {"LTLT", "ltLT"}, {"LV", "lvLV"},
    {"LVI", "lvLV"},  {"LVLV", "lvLV"},
    {"MAL", "mlIN"},  {"MAR", "mrIN"},
    {"MK", "mkMK"},   {"MKD", "mkMK"},
    {"MKI", "mkMK"},  {"MKMK", "mkMK"},
    {"ML", "mlIN"},   {"MLIN", "mlIN"},
    {"MR", "mrIN"},   {"MRIN", "mrIN"},
    {"MS", "msMY"},   {"MSA", "msMY"},
    {"MSL", "msMY"},  {"MSMY", "msMY"},
    {"MT", "mtMT"},   {"MTL", "mtMT"},
    {"MTMT", "mtMT"}, {"NBNO", "noNO"},
    {"NL", "nlNL"},   {"NLB", "nlBE"},
    {"NLBE", "nlBE"}, {"NLD", "nlNL"},
    {"NLNL", "nlNL"}, {"NN", "noNO"},
    {"NNNO", "noNO"}, {"NO", "noNO"},
    {"NON", "noNO"},  {"NONO", "noNO"},
    {"NONY", "noNO"}, {"NOR", "noNO"},
    {"NR", "shSP"},   {"OR", "orIN"},
    {"ORI", "orIN"},  {"ORIN", "orIN"},
    {"PA", "paIN"},   {"PAIN", "paIN"},
    {"PAN", "paIN"},  {"PL", "plPL"},
    {"PLK", "plPL"},  {"PLPL", "plPL"},
    {"POL", "plPL"},  {"POR", "ptPT"},
    {"PT", "ptPT"},   {"PTB", "ptBR"},
    {"PTBR", "ptBR"}, {"PTG", "ptPT"},
    {"PTPT", "ptPT"}, {"RO", "roRO"},
    {"ROM", "roRO"},  {"RON", "roRO"},
    {"RORO", "roRO"}, {"RU", "ruRU"},
    {"RURU", "ruRU"}, {"RUS", "ruRU"},
    {"RUUA", "ruRU"}, {"SH", "shSP"},
    {"SHBA", "shSP"}, {"SHSP", "shSP"},
    {"SHYU", "shSP"}, {"SK", "skSK"},
    {"SKSK", "skSK"}, {"SKY", "skSK"},
    {"SL", "slSI"},   {"SLK", "skSK"},
    {"SLSI", "slSI"}, {"SLV", "slSI"},
    {"SPA", "esES"},  {"SQ", "sqAL"},
    {"SQAL", "sqAL"}, {"SQI", "sqAL"},
    {"SR", "srSP"},   {"SRB", "srSP"},
    {"SRL", "shSP"},  {"SRP", "srSP"},
    {"SRSP", "srSP"}, {"SRYU", "srSP"},
    {"SV", "svSE"},   {"SVE", "svSE"},
    {"SVF", "svSE"},  {"SVFI", "svSE"},
    {"SVSE", "svSE"}, {"SWE", "svSE"},
    {"TA", "taIN"},   {"TAIN", "taIN"},
    {"TAM", "taIN"},  {"TE", "teIN"},
    {"TEIN", "teIN"}, {"TEL", "teIN"},
    {"TH", "thTH"},   {"THA", "thTH"},
    {"THAI", "thTH"}, {"THTH", "thTH"},
    {"TR", "trTR"},   {"TRK", "trTR"},
    {"TRTR", "trTR"}, {"TUR", "trTR"},
    {"UK", "ukUA"},   {"UKR", "ukUA"},
    {"UKUA", "ukUA"}, {"UR", "urPK"},
    {"URD", "urPK"},  {"URIN", "urIN"},
    {"URPK", "urPK"}, {"VI", "viVN"},
    {"VIE", "viVN"},  {"VIT", "viVN"},
    {"VIVN", "viVN"}, {"ZH", "zhCN"},
    {"ZHCN", "zhCN"}, {"ZHH", "zhHK"},
    {"ZHHK", "zhHK"}, {"ZHI", "zhSG"},
    {"ZHO", "zhCN"},  {"ZHSG", "zhSG"},
    {"ZHTW", "zhTW"},
};

constexpr const char* PRIMARY_LOCALES[] = {
    "ENUS", "ENAU", "ENBE", "ENCA", "ENHK", "ENIN", "ENIE", "ENNZ", "ENPH", "ENPK", "ENSG", "ENZA",
    "ENGB", "SQAL", "AZAZ", "BGBG", "BEBY", "CAES", "HRHR", "CSCZ", "DADK", "NLNL", "NLBE", "ETEE",
    "FIFI", "FRFR", "FRBE", "FRCA", "FRLU", "FRCH", "DEDE", "DEAT", "DELU", "DECH", "ELGR", "HUHU",
    "ISIS", "IDID", "ITIT", "ITCH", "KKKZ", "LVLV", "LTLT", "MKMK", "MSMY", "MTMT", "NONO", "PLPL",
    "PTBR", "PTPT", "RORO", "RURU", "SRSP", "SHSP", "SKSK", "SLSI", "ESES", "ESAR", "ESBO", "ESCL",
    "ESCO", "ESCR", "ESDO", "ESEC", "ESSV", "ESGT", "ESHN", "ESMX", "ESNI", "ESPA", "ESPY", "ESPE",
    "ESPR", "ESUS", "ESUY", "ESVE", "SVSE", "TRTR", "UKUA", "CYGB", "ZHCN", "ZHSG", "ZHTW", "ZHHK",
    "JAJP", "KOKR", "ARAA", "ARDZ", "ARBH", "AREG", "ARJO", "ARKW", "ARLB", "ARMA", "AROM", "ARQA",
    "ARSA", "ARSY", "ARTN", "ARAE", "ARYE", "ASIN", "BNIN", "GUIN", "HEIL", "HIIN", "KNIN", "MLIN",
    "MRIN", "ORIN", "PAIN", "TAIN", "TEIN", "THTH", "URPK", "URIN", "VIVN",
};

static_assert(std::size(LOCALE_TABLE) == LOCALE_COUNT);
static_assert(std::size(PRIMARY_LOCALES) == PRIMARY_LOCALE_COUNT);

namespace {

constexpr std::size_t LONGEST_NAME = 63;
constexpr std::size_t PACKED_LENGTH = 8;

/// The first eight characters of a key as a number that orders like the key.
constexpr std::uint64_t packed(std::string_view key) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < PACKED_LENGTH; ++i) {
        number = number << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0);
    }
    return number;
}

// Why: looking up packed keys costs one comparison of numbers a step, half the time of comparing
// texts.
constexpr auto PACKED_KEYS = [] {
    std::array<std::uint64_t, LOCALE_COUNT> keys{};
    for (std::size_t i = 0; i < LOCALE_COUNT; ++i) {
        keys[i] = packed(LOCALE_TABLE[i].key);
    }
    return keys;
}();

constexpr bool strictlyIncreasing() {
    for (std::size_t i = 1; i < LOCALE_COUNT; ++i) {
        if (PACKED_KEYS[i - 1] >= PACKED_KEYS[i]) {
            return false;
        }
    }
    return true;
}

static_assert(strictlyIncreasing(),
              "the table is ordered, and eight characters tell any two keys apart");

const LocaleRow* findKey(std::string_view key) {
    const auto found = std::lower_bound(PACKED_KEYS.begin(), PACKED_KEYS.end(), packed(key));
    if (found == PACKED_KEYS.end()) {
        return nullptr;
    }
    const LocaleRow* const row = LOCALE_TABLE + (found - PACKED_KEYS.begin());
    return key == row->key ? row : nullptr;
}

/// The letters and digits of `name` in upper case.
class NormalisedName {
  public:
    explicit NormalisedName(std::string_view name) {
        for (const char c : name) {
            if (isAsciiAlphanumeric(c)) {
                text_[length_++] = toAsciiUpper(c);
            }
        }
    }

    std::string_view view() const { return {text_, length_}; }

  private:
    char text_[LONGEST_NAME];
    std::size_t length_ = 0;
};

}  // namespace

const LocaleRow* findLocale(const char* name) {
    const std::string_view cut(name, strnlen(name, LONGEST_NAME));
    if (const LocaleRow* const row = findKey(NormalisedName(cut).view())) {
        return row;
    }
    const std::size_t codeSet = cut.find('.');
    return codeSet == std::string_view::npos
               ? nullptr
               : findKey(NormalisedName(cut.substr(0, codeSet)).view());
}

}  // namespace nx::oss::detail
