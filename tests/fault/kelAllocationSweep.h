#pragma once

#include <list>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <unicode/locid.h>

#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelAllocationFaults.h"

/// The table of public operations that run while memory runs out.
namespace nx::test {

// --- What can be seen of an object or a result --------------------------------------------------

std::string stateOf(const char* text);
std::string stateOf(const std::string& text);
std::string stateOf(const icu::UnicodeString& text);
std::string stateOf(const icu::Locale& locale);
std::string stateOf(const std::list<icu::UnicodeString>& texts);
std::string stateOf(const std::list<oss::Socket>& sockets);
std::string stateOf(const oss::Message& message);
std::string stateOf(const oss::Message* message);
std::string stateOf(const oss::MessageList& list);
std::string stateOf(const oss::BaseException& exception);
std::string stateOf(const oss::BuildVersion& version);
std::string stateOf(const oss::ByteArrayOutputStream& stream);
std::string stateOf(const oss::ByteBuffer& buffer);
std::string stateOf(const oss::DataBuffer& buffer);
std::string stateOf(const oss::DefaultAlternateBuffer<char>& buffer);
std::string stateOf(const oss::Formatter& formatter);
std::string stateOf(const oss::StringTokenizer& tokenizer);
std::string stateOf(const oss::UTF8Iterator& iterator);
std::string stateOf(const oss::Socket& socket);
std::string stateOf(const oss::SocketServer& server);
std::string stateOf(const util::ExtendedProperties& properties);

template <unsigned long N>
std::string stateOf(const oss::SizeableBuffer<char, N>& buffer) {
    return "capacity " + std::to_string(buffer.capacity());
}

template <class Number>
std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>, std::string> stateOf(
    Number number) {
    return std::to_string(static_cast<long double>(number));
}

/// Subjects that are made of several objects say what is to be seen of them.
template <class Subject>
auto stateOf(const Subject& subject) -> decltype(subject.state()) {
    return subject.state();
}

template <class T>
std::string stateOf(const std::unique_ptr<T>& object) {
    return stateOf(*object);
}

/// A place for an object. Why not std::optional: clang makes none of a class that is assigned from
/// objects that are not const.
template <class T>
class Place {
  public:
    Place() = default;
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() { reset(); }

    template <class... Arguments>
    T& emplace(Arguments&&... arguments) {
        reset();
        object_ = ::new (static_cast<void*>(bytes_)) T(std::forward<Arguments>(arguments)...);
        return *object_;
    }
    void reset() {
        if (object_ != nullptr) {
            std::exchange(object_, nullptr)->~T();
        }
    }
    explicit operator bool() const { return object_ != nullptr; }
    T& operator*() { return *object_; }
    const T& operator*() const { return *object_; }
    T* operator->() { return object_; }

  private:
    alignas(T) unsigned char bytes_[sizeof(T)];
    T* object_ = nullptr;
};

template <class T>
std::string stateOf(const std::optional<T>& object) {
    return object ? stateOf(*object) : "none";
}

template <class T>
std::string stateOf(const Place<T>& object) {
    return object ? stateOf(*object) : "none";
}

// --- Rows ---------------------------------------------------------------------------------------

/// What may come of an operation that does not get all its memory, besides the two that every
/// operation may end in: its complete result (its error included), and std::bad_alloc with the
/// subject as it was before.
struct Promise {
    /// What the subject is after std::bad_alloc; null: as it was before.
    const char* broken = nullptr;
    /// What else the operation may end in, with the subject as before (or as `broken` says).
    const char* instead = nullptr;
    /// After std::bad_alloc the subject may be in a state between the one before and the one after.
    bool halfDone = false;
    /// The operation changes what it sees, so that it is not repeated on the same subject.
    bool onlyOnce = false;
    /// ICU does not survive it when its own allocations fail here, so that only those of the
    /// library fail.
    bool withoutIcu = false;
    /// What the subject is when an operation that cannot refuse comes to its end all the same.
    const char* refused = nullptr;
};

/// One operation on a subject of its own.
class Trial {
  public:
    virtual ~Trial() = default;
    /// The operation alone; nothing else runs while allocations fail.
    virtual void operate() = 0;
    virtual std::string result() const = 0;
    virtual std::string state() const = 0;
    /// Gives back the result, for another call of operate().
    virtual void forget() = 0;
};

template <class Subject, class Operation>
class TrialOf : public Trial {
  public:
    template <class Make>
    TrialOf(const Make& make, const Operation& operation)
        : subject_(make()), operation_(operation) {}

    void operate() override {
        if constexpr (std::is_void_v<Result>) {
            operation_(subject_);
        } else if constexpr (std::is_reference_v<Result>) {
            result_ = &operation_(subject_);
        } else {
            result_.emplace(operation_(subject_));
        }
    }
    std::string result() const override {
        if constexpr (std::is_void_v<Result>) {
            return "done";
        } else {
            return "gives " + stateOf(*result_);
        }
    }
    std::string state() const override { return stateOf(subject_); }
    void forget() override { result_ = {}; }

  private:
    using Result = std::invoke_result_t<Operation, Subject&>;
    using Kept = std::conditional_t<
        std::is_void_v<Result>, std::optional<bool>,
        std::conditional_t<
            std::is_reference_v<Result>, std::add_pointer_t<std::remove_reference_t<Result>>,
            std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>>>>;

    Subject subject_;
    Operation operation_;
    Kept result_ = {};
};

/// Makes the trials of one operation. Why not std::function: one takes three times as long to
/// compile, and there are hundreds of operations.
class Maker {
  public:
    virtual ~Maker() = default;
    virtual std::unique_ptr<Trial> make() const = 0;
};

template <class Make, class Operation>
class MakerOf : public Maker {
  public:
    MakerOf(const Make& make, const Operation& operation) : make_(make), operation_(operation) {}
    std::unique_ptr<Trial> make() const override {
        using Made = TrialOf<std::invoke_result_t<Make>, Operation>;
        return std::unique_ptr<Trial>(new Made(make_, operation_));
    }

  private:
    std::decay_t<Make> make_;
    Operation operation_;
};

struct Row {
    const char* name;
    std::shared_ptr<Maker> maker;
    Promise promise;
};

using Rows = std::vector<Row>;

/// The operation `name` on what `make` makes.
template <class Make, class Operation>
Row row(const char* name, const Make& make, const Operation& operation, Promise promise = {}) {
    Maker* const maker = new MakerOf<Make, Operation>(make, operation);
    return {name, std::shared_ptr<Maker>(maker), promise};
}

struct Nothing {
    static std::string state() { return ""; }
};

/// add(number, name) for each type of numbers that operations take.
template <class Add>
void forEachNumberType(const Add& add) {
    add(double{}, "double");
    add(float{}, "float");
    add(int{}, "int");
    add(long{}, "long");
    add(short{}, "short");
    add(static_cast<signed char>(0), "signed char");
    add(static_cast<unsigned char>(0), "unsigned char");
    add(0U, "unsigned int");
    add(0UL, "unsigned long");
    add(static_cast<unsigned short>(0), "unsigned short");
}

/// An operation without an object.
template <class Operation>
Row callOf(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Nothing{}; }, [=](Nothing&) -> decltype(auto) { return operation(); },
        promise);
}

/// A constructor: `construct` puts the object into the place that it is given.
template <class T, class Construct>
Row builds(const char* name, const Construct& construct, Promise promise = {}) {
    return row(
        name, [] { return Place<T>(); },
        [=](Place<T>& place) {
            place.reset();
            construct(place);
        },
        promise);
}

/// What `construct` puts into the place that it is given.
template <class T>
struct Made {
    template <class Construct>
    explicit Made(const Construct& construct) {
        construct(object);
    }
    std::string state() const { return object ? "there" : "gone"; }

    Place<T> object;
};

/// The destructor of what `construct` makes.
template <class T, class Construct>
Row destroys(const char* name, const Construct& construct) {
    return row(
        name, [=] { return Made<T>(construct); }, [](Made<T>& made) { made.object.reset(); });
}

// The rows, in the order of their files.
Rows rowsOfDiagnostics();
Rows rowsOfBuffers();
Rows rowsOfTexts();
Rows rowsOfNetwork();
Rows rowsOfUtilities();

// --- Material -----------------------------------------------------------------------------------

/// Longer than what a UnicodeString holds without the heap.
inline constexpr const char* LONG = "a text that does not fit into the string object itself";

/// Text that ICU has to copy to the heap whenever it is stored.
const icu::UnicodeString& borrowed();
/// 5,000 characters of two bytes each.
const icu::UnicodeString& longText();
/// 6,000 bytes, more than any buffer holds inside.
const std::string& longBytes();
/// A record with everything in it.
oss::Message longRecord();

}  // namespace nx::test
