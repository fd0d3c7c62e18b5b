#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// Why an expansion stopped.
enum class ReferenceError {
    NONE,
    BAD_REFERENCE,    ///< `name` refers to `reference`, which does not exist
    CYCLIC_REFERENCE  ///< `name` is under expansion already
};

struct ReferenceResult {
    ReferenceError error;
    icu::UnicodeString name;
    icu::UnicodeString reference;
};

/// Whether the value holds two '%', which make a reference.
bool holdsReference(const icu::UnicodeString& value);

/// Expands `%name%` references in place, the referenced values first.
///
/// Every value is read once from left to right into its expansion, and values that wait for others
/// stand on a stack of their own: time and memory are linear in the result, and depth costs no
/// machine stack.
class ReferenceResolver {
  public:
    /// Finds the value of a name, null when there is none. Values keep their address.
    using Lookup = std::function<icu::UnicodeString*(const icu::UnicodeString&)>;

    /// `inProgress` are the names under expansion. It grows and shrinks with the work; an error
    /// leaves the names in it that were still under way.
    ReferenceResolver(std::list<icu::UnicodeString>& inProgress, Lookup lookup);

    /// Expands `value`, the value of `name`. After an error every value under way holds what was
    /// replaced so far and its unread rest. Throws std::bad_alloc, also for a value that outgrows
    /// UnicodeString; values under way are unchanged then.
    ReferenceResult resolve(const icu::UnicodeString& name, icu::UnicodeString& value);

  private:
    /// A value under expansion.
    struct Frame {
        icu::UnicodeString* value;
        icu::UnicodeString
            input;                // the value as it was; shares its characters until it is replaced
        icu::UnicodeString done;  // the expansion of what has been read
        int read;                 // where the unread rest of `input` starts
        int opening;              // the first '%' of `done`, NOT_FOUND when there is none
        int closing;              // the '%' of `input` that ends the reference waited for
    };

    struct NameHash {
        std::size_t operator()(std::u16string_view name) const;
    };

    bool isInProgress(const icu::UnicodeString& name) const;
    void addName(const icu::UnicodeString& name);
    void removeName(const icu::UnicodeString& name);
    void enter(const icu::UnicodeString& name, icu::UnicodeString& value);
    void leave();
    bool findReference(Frame& frame, icu::UnicodeString& reference);
    void insert(Frame& frame, const icu::UnicodeString& expansion);
    ReferenceResult fail(ReferenceError error, const icu::UnicodeString& name,
                         const icu::UnicodeString& reference);

    std::list<icu::UnicodeString>& inProgress_;
    Lookup lookup_;
    std::vector<Frame> frames_;
    // Views of the elements of the list. A caller's list may hold a name twice.
    std::unordered_multiset<std::u16string_view, NameHash> names_;
    // The null name is another name than the empty one, which its view would not show.
    std::size_t nullNames_ = 0;
};

}  // namespace nx::oss::detail
