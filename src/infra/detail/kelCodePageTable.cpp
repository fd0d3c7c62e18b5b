#include "infra/detail/kelCodePageTable.h"

#include <cstring>
#include <mutex>
#include <new>

namespace nx::oss::detail {

namespace {

/// What ICU makes of a few bytes or of one unit, taken alone with more to follow.
struct Answer {
    bool clean;          // no error, and so everything consumed; nothing waiting for more
    bool waiting;        // no error, but more must follow
    std::size_t length;  // of the output
};

constexpr std::size_t LONGEST_ANSWER = 8;

Answer answerOf(UErrorCode status, int32_t pending, std::size_t length) {
    const bool fine = U_SUCCESS(status) != 0;
    return {fine && pending == 0, fine && pending != 0, length};
}

Answer askForUnits(UConverter* converter, const char* bytes, std::size_t count, char16_t* units) {
    UErrorCode status = U_ZERO_ERROR;
    const char* source = bytes;
    char16_t* target = units;
    ucnv_resetToUnicode(converter);
    ucnv_toUnicode(converter, &target, units + LONGEST_ANSWER, &source, bytes + count, nullptr,
                   /*flush=*/false, &status);
    UErrorCode pendingStatus = U_ZERO_ERROR;
    const int32_t pending = ucnv_toUCountPending(converter, &pendingStatus);
    return answerOf(status, pending, static_cast<std::size_t>(target - units));
}

Answer askForBytes(UConverter* converter, char16_t unit, char* bytes) {
    UErrorCode status = U_ZERO_ERROR;
    const char16_t* source = &unit;
    char* target = bytes;
    ucnv_resetFromUnicode(converter);
    ucnv_fromUnicode(converter, &target, bytes + LONGEST_ANSWER, &source, &unit + 1, nullptr,
                     /*flush=*/false, &status);
    UErrorCode pendingStatus = U_ZERO_ERROR;
    const int32_t pending = ucnv_fromUCountPending(converter, &pendingStatus);
    return answerOf(status, pending, static_cast<std::size_t>(target - bytes));
}

bool isOneCharacter(const Answer& answer, const char16_t* units) {
    return answer.clean && answer.length == 1 && !U16_IS_SURROGATE(units[0]);
}

/// A converter of its own for the questions, since they change callbacks and state.
class Questioned {
  public:
    explicit Questioned(const char* name) {
        UErrorCode status = U_ZERO_ERROR;
        converter_ = ucnv_open(name, &status);
        ucnv_setToUCallBack(converter_, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
        ucnv_setFromUCallBack(converter_, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &status);
        usable_ = U_SUCCESS(status);
    }
    ~Questioned() { ucnv_close(converter_); }
    Questioned(const Questioned&) = delete;
    Questioned& operator=(const Questioned&) = delete;

    UConverter* get() const { return usable_ ? converter_ : nullptr; }

  private:
    UConverter* converter_ = nullptr;
    bool usable_ = false;
};

/// All tables of the process, by ICU's own name of the code page; a null table records that there
/// is none.
struct KeptTable {
    char name[UCNV_MAX_CONVERTER_NAME_LENGTH];
    const CodePageTable* table;
};

constexpr std::size_t MOST_TABLES = 32;
std::mutex tables_mutex;
KeptTable kept_tables[MOST_TABLES];
std::size_t table_count = 0;

bool isTableDriven(const UConverter* converter) {
    switch (ucnv_getType(converter)) {
        case UCNV_SBCS:
        case UCNV_DBCS:
        case UCNV_MBCS:
            return true;
        default:
            return false;
    }
}

const CodePageTable* make(const char* name) {
    const Questioned questioned(name);
    if (questioned.get() == nullptr) {
        return nullptr;
    }
    try {
        auto table = std::make_unique<CodePageTable>();
        return table->fill(questioned.get()) ? table.release() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;  // it stays slower, that is all
    }
}

}  // namespace

std::optional<const CodePageTable*> CodePageTable::of(const UConverter* converter) {
    UErrorCode status = U_ZERO_ERROR;
    const char* const name = ucnv_getName(converter, &status);
    if (!isTableDriven(converter)) {
        return nullptr;
    }
    const std::unique_lock<std::mutex> lock(tables_mutex, std::try_to_lock);
    if (!lock.owns_lock()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < table_count; ++i) {
        if (std::strcmp(kept_tables[i].name, name) == 0) {
            return kept_tables[i].table;
        }
    }
    if (table_count == MOST_TABLES) {
        return nullptr;
    }
    KeptTable& kept = kept_tables[table_count];
    std::strncpy(kept.name, name, sizeof kept.name - 1);
    kept.table = make(name);
    ++table_count;
    return kept.table;
}

bool CodePageTable::fill(UConverter* converter) {
    if (!fillUnits(converter)) {
        return false;
    }
    fillBytes(converter);
    return true;
}

bool CodePageTable::fillUnits(UConverter* converter) {
    char16_t rowCount = 0;
    for (std::size_t first = 0; first < BYTES; ++first) {
        const char byte = static_cast<char>(first);
        char16_t units[LONGEST_ANSWER];
        const Answer answer = askForUnits(converter, &byte, 1, units);
        if (answer.clean && answer.length == 0) {
            return false;  // a shift between states
        }
        units_[first] = isOneCharacter(answer, units) ? units[0] : NO_CHARACTER;
        if (answer.waiting) {
            units_[first] = static_cast<char16_t>(FIRST_ROW + rowCount++);
        }
    }
    rows_ = std::make_unique<Row[]>(rowCount);
    for (std::size_t first = 0; first < BYTES; ++first) {
        if (isRow(units_[first])) {
            fillRow(converter, static_cast<unsigned char>(first), rows_[units_[first] - FIRST_ROW]);
        }
    }
    return true;
}

void CodePageTable::fillRow(UConverter* converter, unsigned char first, Row& row) {
    for (std::size_t second = 0; second < BYTES; ++second) {
        const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
        char16_t units[LONGEST_ANSWER];
        const Answer answer = askForUnits(converter, bytes, sizeof bytes, units);
        row.units[second] = isOneCharacter(answer, units) ? units[0] : NO_CHARACTER;
    }
}

void CodePageTable::fillBytes(UConverter* converter) {
    for (std::size_t unit = 0; unit < UNITS; ++unit) {
        bytes_[unit] = NOT_HELD;
        if (U16_IS_SURROGATE(unit)) {
            continue;
        }
        char bytes[LONGEST_ANSWER];
        const Answer answer = askForBytes(converter, static_cast<char16_t>(unit), bytes);
        if (answer.clean && answer.length == 1) {
            bytes_[unit] = static_cast<unsigned char>(bytes[0]);
        } else if (answer.clean && answer.length == 2 && bytes[0] != 0) {
            bytes_[unit] = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[0]) << 8 |
                                                      static_cast<unsigned char>(bytes[1]));
        }
    }
}

Progress CodePageTable::decode(const char* src, std::size_t length, char16_t* dest,
                               std::size_t capacity) const {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(src);
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < length && written < capacity) {
        char16_t unit = units_[bytes[read]];
        std::size_t width = 1;
        if (isRow(unit)) {
            if (length - read < 2) {
                break;
            }
            unit = rows_[unit - FIRST_ROW].units[bytes[read + 1]];
            width = 2;
        }
        if (unit == NO_CHARACTER) {
            break;
        }
        dest[written++] = unit;
        read += width;
    }
    return {read, written};
}

Progress CodePageTable::encode(const char16_t* src, std::size_t length, char* dest,
                               std::size_t capacity) const {
    std::size_t read = 0;
    std::size_t written = 0;
    for (; read < length; ++read) {
        const std::uint16_t bytes = bytes_[src[read]];
        const std::size_t width = bytes < BYTES ? 1 : 2;
        if (bytes == NOT_HELD || capacity - written < width) {
            break;
        }
        if (width == 2) {
            dest[written++] = static_cast<char>(bytes >> 8);
        }
        dest[written++] = static_cast<char>(bytes);
    }
    return {read, written};
}

}  // namespace nx::oss::detail
