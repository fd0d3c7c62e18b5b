#include "infra/detail/kelReferenceResolver.h"

#include <limits>
#include <utility>

#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTextHash.h"
#include "infra/detail/kelUnicodeBuffer.h"
#include "infra/detail/kelUnitText.h"

namespace nx::oss::detail {

namespace {

constexpr char16_t DELIMITER = u'%';
constexpr int NOT_FOUND = -1;

/// ICU turns a text that outgrows it, or that memory does not suffice for, into a null one without
/// a word.
void appendChecked(icu::UnicodeString& out, const icu::UnicodeString& text, int start, int length) {
    if (length > std::numeric_limits<int>::max() - out.length()) {
        raiseBadAlloc();
    }
    out.append(text, start, length);
    if (out.isBogus()) {
        raiseBadAlloc();
    }
}

}  // namespace

bool holdsReference(const icu::UnicodeString& value) {
    const int first = value.indexOf(DELIMITER);
    return first != NOT_FOUND && value.indexOf(DELIMITER, first + 1) != NOT_FOUND;
}

std::size_t ReferenceResolver::NameHash::operator()(std::u16string_view name) const {
    return hashText(name.data(), name.size() * sizeof(char16_t));
}

ReferenceResolver::ReferenceResolver(std::list<icu::UnicodeString>& inProgress, Lookup lookup)
    : inProgress_(inProgress), lookup_(std::move(lookup)) {
    for (const icu::UnicodeString& name : inProgress_) {
        addName(name);
    }
}

ReferenceResult ReferenceResolver::resolve(const icu::UnicodeString& name,
                                           icu::UnicodeString& value) {
    if (isInProgress(name)) {
        return fail(ReferenceError::CYCLIC_REFERENCE, name, {});
    }
    enter(name, value);
    icu::UnicodeString reference;
    while (!frames_.empty()) {
        Frame& frame = frames_.back();
        if (!findReference(frame, reference)) {
            leave();
            continue;
        }
        icu::UnicodeString* const found = lookup_(reference);
        if (found == nullptr) {
            return fail(ReferenceError::BAD_REFERENCE, inProgress_.back(), reference);
        }
        if (isInProgress(reference)) {
            return fail(ReferenceError::CYCLIC_REFERENCE, reference, {});
        }
        if (holdsReference(*found)) {
            enter(reference, *found);
        } else {
            insert(frame, *found);
        }
    }
    return {ReferenceError::NONE, {}, {}};
}

bool ReferenceResolver::isInProgress(const icu::UnicodeString& name) const {
    return name.isBogus() ? nullNames_ != 0 : names_.count(viewOf(name)) != 0;
}

void ReferenceResolver::addName(const icu::UnicodeString& name) {
    if (name.isBogus()) {
        ++nullNames_;
    } else {
        names_.insert(viewOf(name));
    }
}

void ReferenceResolver::removeName(const icu::UnicodeString& name) {
    if (name.isBogus()) {
        --nullNames_;
    } else {
        names_.erase(names_.find(viewOf(name)));
    }
}

void ReferenceResolver::enter(const icu::UnicodeString& name, icu::UnicodeString& value) {
    inProgress_.push_back(copyOf(name));
    addName(inProgress_.back());
    frames_.push_back({&value, copyOf(value), {}, 0, NOT_FOUND, 0});
}

/// The value of the last frame is complete: stores it, and inserts it where it was waited for.
void ReferenceResolver::leave() {
    Frame& frame = frames_.back();
    icu::UnicodeString& value = *frame.value;
    if (frame.read > 0) {
        appendChecked(frame.done, frame.input, frame.read, frame.input.length() - frame.read);
        value = std::move(frame.done);
    }
    frames_.pop_back();
    removeName(inProgress_.back());
    inProgress_.pop_back();
    if (!frames_.empty()) {
        insert(frames_.back(), value);
    }
}

/// Reads on to the end of the next reference; false when there is none.
bool ReferenceResolver::findReference(Frame& frame, icu::UnicodeString& reference) {
    int next = frame.input.indexOf(DELIMITER, frame.read);
    if (next != NOT_FOUND && frame.opening == NOT_FOUND) {
        appendChecked(frame.done, frame.input, frame.read, next + 1 - frame.read);
        frame.opening = frame.done.length() - 1;
        frame.read = next + 1;
        next = frame.input.indexOf(DELIMITER, frame.read);
    }
    if (next == NOT_FOUND) {
        return false;
    }
    frame.closing = next;
    // What an inserted value left behind its single '%' is part of the name.
    reference.remove();
    appendChecked(reference, frame.done, frame.opening + 1,
                  frame.done.length() - frame.opening - 1);
    appendChecked(reference, frame.input, frame.read, next - frame.read);
    return true;
}

void ReferenceResolver::insert(Frame& frame, const icu::UnicodeString& expansion) {
    const int delimiter = expansion.indexOf(DELIMITER);
    frame.done.truncate(frame.opening);
    appendChecked(frame.done, expansion, 0, expansion.length());
    frame.opening = delimiter == NOT_FOUND ? NOT_FOUND : frame.opening + delimiter;
    frame.read = frame.closing + 1;
}

ReferenceResult ReferenceResolver::fail(ReferenceError error, const icu::UnicodeString& name,
                                        const icu::UnicodeString& reference) {
    for (Frame& frame : frames_) {
        appendChecked(frame.done, frame.input, frame.read, frame.input.length() - frame.read);
        *frame.value = frame.done;
    }
    return {error, copyOf(name), reference};
}

}  // namespace nx::oss::detail
