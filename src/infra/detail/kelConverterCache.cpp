#include "infra/detail/kelConverterCache.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "infra/detail/kelCodePageTable.h"
#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

namespace {

using Entry = ConverterLease::Entry;

// Bytes or code units that a code page must have carried in a thread before tables pay.
constexpr std::size_t WORTH_A_TABLE = 16'384;

CodePageKind kindOfConverter(const UConverter* converter) {
    switch (ucnv_getType(converter)) {
        case UCNV_UTF8:
            return CodePageKind::UTF_8;
        case UCNV_LATIN_1:
            return CodePageKind::LATIN_1;
        case UCNV_UTF16_LittleEndian:
            return CodePageKind::UTF_16_LE;
        case UCNV_UTF16_BigEndian:
            return CodePageKind::UTF_16_BE;
        default:
            return CodePageKind::OTHER;
    }
}

bool isSimpleType(UConverterType type) {
    switch (type) {
        case UCNV_SBCS:
        case UCNV_DBCS:
        case UCNV_MBCS:
        case UCNV_LATIN_1:
        case UCNV_US_ASCII:
        case UCNV_UTF8:
        case UCNV_UTF16:
        case UCNV_UTF16_BigEndian:
        case UCNV_UTF16_LittleEndian:
        case UCNV_UTF32:
        case UCNV_UTF32_BigEndian:
        case UCNV_UTF32_LittleEndian:
        case UCNV_ISO_2022:
            return true;
        default:
            return false;
    }
}

/// Null for a name that ICU does not know; the default for a null name. Where the environment names
/// a folder of ICU's data, ICU looks there for a file of the name; none may lead out of that
/// folder.
UConverter* openConverter(const char* name) {
    if (name != nullptr && std::strchr(name, '/') != nullptr) {
        return nullptr;
    }
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(name, &status);
    if (status == U_MEMORY_ALLOCATION_ERROR) {
        raiseBadAlloc();
    }
    return converter;
}

bool holdsOptions(const char* name) { return std::strchr(name, ',') != nullptr; }

/// Whether the name, or that of the form of UTF-16 that it is an alias of ("UnicodeBig"), has
/// options behind a comma. They change what the converter does, not its type.
bool hasOptions(const char* name, const UConverter* converter) {
    const UConverterType type = ucnv_getType(converter);
    const bool isUtf16 = type == UCNV_UTF16_LittleEndian || type == UCNV_UTF16_BigEndian;
    UErrorCode status = U_ZERO_ERROR;
    return holdsOptions(name) || (isUtf16 && holdsOptions(ucnv_getName(converter, &status)));
}

Entry openEntry(const char* name) {
    Entry entry = {};
    entry.converter = openConverter(isDefaultCodePage(name) ? nullptr : name);
    if (entry.converter != nullptr) {
        const bool isPlain = !hasOptions(name, entry.converter);
        entry.kind = isPlain ? kindOfConverter(entry.converter) : CodePageKind::OTHER;
        entry.tableRefused = !isPlain;
        // Options may be lost by a reset. Without them, ICU knows no name that would not fit.
        static_assert(Entry::LONGEST_NAME >= UCNV_MAX_CONVERTER_NAME_LENGTH);
        entry.simple = isPlain && isSimpleType(ucnv_getType(entry.converter));
        std::memcpy(entry.name, name, strnlen(name, Entry::LONGEST_NAME));
    }
    return entry;
}

/// Replaces characters as ICU does by default, and marks the entry.
void U_CALLCONV substituteAndMark(const void* entry, UConverterFromUnicodeArgs* arguments,
                                  const char16_t* units, int32_t length, UChar32 character,
                                  UConverterCallbackReason reason, UErrorCode* status) {
    if (reason <= UCNV_IRREGULAR) {
        const_cast<Entry*>(static_cast<const Entry*>(entry))->spent = true;
    }
    UCNV_FROM_U_CALLBACK_SUBSTITUTE(nullptr, arguments, units, length, character, reason, status);
}

/// Makes a kept entry notice what ucnv_reset() does not undo: a character without a mapping can
/// leave behind which of two substitution characters comes next.
void watch(Entry& entry) {
    UErrorCode status = U_ZERO_ERROR;
    entry.spent = false;
    ucnv_setFromUCallBack(entry.converter, substituteAndMark, &entry, nullptr, nullptr, &status);
}

/// The converter of a kept entry in its initial state; null when memory does not suffice for a new
/// one.
UConverter* renew(Entry& entry) {
    if (!entry.spent) {
        ucnv_reset(entry.converter);
        return entry.converter;
    }
    ucnv_close(std::exchange(entry.converter, nullptr));
    entry.converter = openConverter(entry.name[0] == '\0' ? nullptr : entry.name);
    if (entry.converter != nullptr) {
        watch(entry);
    }
    return entry.converter;
}

/// The converters that a thread keeps open, the most recently used first.
class KeptConverters {
  public:
    KeptConverters() = default;
    KeptConverters(const KeptConverters&) = delete;
    KeptConverters& operator=(const KeptConverters&) = delete;
    ~KeptConverters() {
        for (Entry& entry : storage_) {
            ucnv_close(entry.converter);
        }
    }

    /// The idle entry for `name` in its initial state, null when there is none.
    Entry* find(const char* name);
    /// Keeps an entry in the place of the idle one that was not used for the longest time; null
    /// when there is none.
    Entry* keep(const Entry& entry);

  private:
    static constexpr std::size_t SIZE = 8;

    // Why: by pointer, so that a borrowed entry stays in place while others move to the front.
    Entry storage_[SIZE] = {};
    Entry* order_[SIZE] = {storage_,     storage_ + 1, storage_ + 2, storage_ + 3,
                           storage_ + 4, storage_ + 5, storage_ + 6, storage_ + 7};
};

Entry* KeptConverters::find(const char* name) {
    for (std::size_t i = 0; i < SIZE; ++i) {
        Entry* const entry = order_[i];
        if (entry->converter != nullptr && !entry->busy && std::strcmp(entry->name, name) == 0) {
            std::rotate(order_, order_ + i, order_ + i + 1);
            return renew(*entry) == nullptr ? nullptr : entry;
        }
    }
    return nullptr;
}

Entry* KeptConverters::keep(const Entry& entry) {
    for (std::size_t i = SIZE; i-- > 0;) {
        Entry* const place = order_[i];
        if (!place->busy) {
            ucnv_close(place->converter);
            *place = entry;
            watch(*place);
            std::rotate(order_, order_ + i, order_ + i + 1);
            return place;
        }
    }
    return nullptr;
}

/// Gives each thread its converters, and takes them back when it ends.
///
/// Why not a thread_local object: the process ends when there is no memory to register its
/// destructor. Why no destructor: other threads may convert until the process is gone. Why nobody
/// waits for the key: the thread that makes it may be one that a fork has left behind.
class ConvertersOfThreads {
  public:
    /// Those of the calling thread. Null when memory is exhausted, and while another thread makes
    /// the key.
    KeptConverters* get() {
        if (state_.load(std::memory_order_acquire) != State::USABLE && !makeKey()) {
            return nullptr;
        }
        void* const kept = pthread_getspecific(key_);
        return kept != nullptr ? static_cast<KeptConverters*>(kept) : make();
    }

  private:
    enum class State { NEW, IN_THE_MAKING, USABLE, UNUSABLE };

    bool makeKey() {
        State expected = State::NEW;
        if (!state_.compare_exchange_strong(expected, State::IN_THE_MAKING)) {
            return expected == State::USABLE;
        }
        const bool made = pthread_key_create(&key_, destroy) == 0;
        state_.store(made ? State::USABLE : State::UNUSABLE, std::memory_order_release);
        return made;
    }

    KeptConverters* make() const {
        std::unique_ptr<KeptConverters> kept(new (std::nothrow) KeptConverters);
        const bool isKept = kept != nullptr && pthread_setspecific(key_, kept.get()) == 0;
        return isKept ? kept.release() : nullptr;
    }
    static void destroy(void* kept) { delete static_cast<KeptConverters*>(kept); }

    pthread_key_t key_ = 0;
    std::atomic<State> state_{State::NEW};
};

// Usable before any static object is: its initial value is a constant.
ConvertersOfThreads converters_of_threads;

}  // namespace

ConverterLease::ConverterLease(const char* codePage) {
    const char* const name = codePage == nullptr ? "" : codePage;
    KeptConverters* const kept = converters_of_threads.get();
    if (kept != nullptr) {
        entry_ = kept->find(name);
    }
    if (entry_ == nullptr) {
        own_ = openEntry(name);
        if (kept != nullptr && own_.simple) {
            entry_ = kept->keep(own_);
        }
    }
    if (entry_ == nullptr) {
        entry_ = &own_;
    }
    entry_->busy = true;
}

ConverterLease::~ConverterLease() {
    entry_->busy = false;
    if (entry_ == &own_) {
        ucnv_close(own_.converter);
    }
}

UConverter* ConverterLease::get() const { return entry_->converter; }

CodePageKind ConverterLease::kind() const { return entry_->kind; }

bool ConverterLease::isSimple() const { return entry_->simple; }

const CodePageTable* ConverterLease::table(std::size_t volume) {
    if (entry_->table != nullptr || entry_->tableRefused || entry_->converter == nullptr) {
        return entry_->table;
    }
    entry_->volume += volume;
    if (entry_->volume >= WORTH_A_TABLE) {
        if (const auto found = CodePageTable::of(entry_->converter)) {
            entry_->table = *found;
            entry_->tableRefused = *found == nullptr;
        }
    }
    return entry_->table;
}

}  // namespace nx::oss::detail
