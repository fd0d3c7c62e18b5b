// The operations, constructors and constants of records, lists, exceptions and the build version.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelConstants.h>
#include <infra/oss/kelDebugBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include <exception>
#include <list>
#include <type_traits>

#include <gtest/gtest.h>

#include "kelSignatures.h"

namespace nx::oss {
namespace {

using namespace signatures;

// --- Message ------------------------------------------------------------------------------------

using M = Message;
using Level = Message::Level;

static_assert(std::is_same_v<std::underlying_type_t<Level>, int>);
static_assert(std::is_convertible_v<Level, int>);  // unscoped
static_assert(M::SEVERE == 1 && M::DEFAULT == 2 && M::LEVEL_4 == 4 && M::LEVEL_8 == 8);
static_assert(std::is_same_v<decltype(M::SEVERE), Level>);

static_assert(!std::is_polymorphic_v<M> && COPYABLE<M>);
static_assert(std::is_default_constructible_v<M>);
static_assert(CONSTRUCTS<M, UnicodeString, Level, const char*, unsigned long>);
static_assert(CONSTRUCTS<M, UnicodeString, UnicodeString, Level>);
static_assert(std::is_constructible_v<M, const char*, const char*, Level>);  // literals as texts
static_assert(!CONSTRUCTS<M, UnicodeString>);

TEST(MessageSignatures, OfSetters) {
    declares<Does<M>, &M::clear>();
    declares<Does<M, String, Level, const char*, unsigned long>, &M::setMessage>();
    declares<Does<M, String, String, Level>, &M::setMessage>();
    declares<Does<M, const M&>, &M::setMessage>();
    declares<Does<M, String>, &M::setMessageID>();
    declares<Does<M, const char*>, &M::setMessageID>();
    declares<Does<M, String>, &M::setMessageCode>();
    declares<Does<M, const char*>, &M::setMessageCode>();
    declares<Does<M, String>, &M::setMessageText>();
    declares<Does<M, const char*>, &M::setMessageText>();
    declares<Does<M, String>, &M::setFormattedMessage>();
    declares<Does<M, const char*>, &M::setFormattedMessage>();
    declares<Does<M, Level>, &M::setMessageLevel>();
    declares<Does<M, const char*>, &M::setFileName>();
    declares<Does<M, String>, &M::setFileName>();
    declares<Does<M, unsigned long>, &M::setLineNumber>();
    declares < Gives<M, M&, const M&>, &M::operator=>();
}

TEST(MessageSignatures, OfGetters) {
    declares<Reads<M, String>, &M::getMessageID>();
    declares<Reads<M, String>, &M::getMessageCode>();
    declares<Reads<M, String>, &M::getMessageText>();
    declares<Reads<M, String>, &M::getFormattedMessage>();
    declares<Reads<M, Level>, &M::getMessageLevel>();
    declares<Reads<M, String>, &M::getFileName>();
    declares<Reads<M, unsigned long>, &M::getLineNumber>();
    declares<Reads<M, const std::list<UnicodeString>&>, &M::getMessageArgs>();
    declares<Reads<M, unsigned long>, &M::getMessageArgsCount>();
    declares<Reads<M, bool>, &M::isSevere>();
    declares<Reads<M, const M*>, &M::getNext>();
    declares<Level (*)(unsigned long), &M::uintToMessageLevel>();
    declares<Reads<M, UnicodeString&, UnicodeString&>, &M::toString>();
}

template <class... Numbers>
void declareNumberArguments() {
    (declares<Does<M, Numbers>, &M::addArgument>(), ...);
}

TEST(MessageSignatures, OfArguments) {
    declares<Does<M, String>, &M::addArgument>();
    declares<Does<M, const char*, const char*>, &M::addArgument>();
    declares<Does<M, const char*, int, const char*>, &M::addArgument>();
    declareNumberArguments<long, int, short, signed char, unsigned long, unsigned int,
                           unsigned short, unsigned char, double, float>();
    declares<Does<M, unsigned long, bool>, &M::addArgumentAsHex>();
    declares<Does<M, const char*, int>, &M::addBinary>();
    declares<Does<M, const icu::Formattable&>, &M::addMessageArg>();
}

// --- MessageList --------------------------------------------------------------------------------

using L = MessageList;

static_assert(!std::is_polymorphic_v<L> && COPYABLE<L>);
static_assert(std::is_default_constructible_v<L>);
static_assert(CONSTRUCTS<L, M> && CONVERTS<L, const M&>);

TEST(MessageListSignatures, OfOperations) {
    declares<Does<L, const M&>, &L::addMessage>();
    declares<Does<L, const M&>, &L::insertMessage>();
    declares<Does<L, const L&>, &L::join>();
    declares<Does<L>, &L::clear>();
    declares<Reads<L, unsigned int>, &L::count>();
    declares<Reads<L, bool>, &L::isEmpty>();
    declares<Reads<L, const M*>, &L::getHead>();
    declares<Gives<L, M&>, &L::getFirstMessage>();
    declares<Reads<L, const M&>, &L::getFirstMessage>();
    declares<Gives<L, const M*>, &L::getFirstMsg>();
    declares<Gives<L, const M*>, &L::getNextMsg>();
    declares<Reads<L, bool>, &L::hasMoreMsgs>();
    declares < Gives<L, L&, const L&>, &L::operator=>();
}

// --- Exceptions ---------------------------------------------------------------------------------

using X = BaseException;

static_assert(DERIVES<X, std::exception>);
static_assert(std::is_same_v<decltype(X::messages), MessageList>);

template <class Exception>
constexpr bool looksLikeAnException() {
    return DERIVES<Exception, X> && std::has_virtual_destructor_v<Exception> &&
           std::is_nothrow_destructible_v<Exception> &&
           std::is_default_constructible_v<Exception> && COPYABLE<Exception> &&
           std::is_constructible_v<Exception, const Exception&> &&
           !std::is_constructible_v<Exception, const MessageList&>;
}
static_assert(looksLikeAnException<X>());
static_assert(looksLikeAnException<IOException>());
static_assert(looksLikeAnException<NLSException>());
static_assert(looksLikeAnException<SocketException>());
static_assert(looksLikeAnException<util::Base64Exception>());
static_assert(looksLikeAnException<util::PropertiesException>());

static_assert(CONSTRUCTS<SocketException, const char*, const char*, unsigned long,
                         const UnicodeString*, unsigned long>);
static_assert(CONSTRUCTS<SocketException, const char*, unsigned long, const UnicodeString*,
                         unsigned long, long>);

/// The class has a name of its own and shares everything else with the root.
template <class Exception>
void declareException() {
    declares<Reads<Exception, const char*>, &Exception::name>();
    declares<const char* (X::*)() const noexcept, &Exception::what>();
    declares<MessageList X::*, &Exception::messages>();
    declares < Gives<Exception, Exception&, const Exception&>, &Exception::operator=>();
}

TEST(ExceptionSignatures, OfEveryClass) {
    declareException<X>();
    declareException<IOException>();
    declareException<NLSException>();
    declareException<SocketException>();
    declareException<util::Base64Exception>();
    declareException<util::PropertiesException>();
}

// --- BuildVersion -------------------------------------------------------------------------------

using V = BuildVersion;

static_assert(!std::is_polymorphic_v<V>);
static_assert(std::is_default_constructible_v<V> && std::is_copy_constructible_v<V>);
static_assert(CONSTRUCTS<V, UnicodeString> && CONVERTS<V, String>);
static_assert(std::is_assignable_v<V&, V&>);
static_assert(!std::is_assignable_v<V&, const V&> && !std::is_assignable_v<V&, V>);

TEST(BuildVersionSignatures, OfOperations) {
    declares < Gives<V, V&, V&>, &V::operator=>();
    declares<Reads<V, String>, &V::getBuildVersion>();
    declares<Reads<V, String>, &V::getProductVersion>();
    declares<Reads<V, String>, &V::getProtocolVersion>();
    declares<Reads<V, String>, &V::getBuildNumberString>();
    declares<Does<V>, &V::tokenizeBuildVersionString>();
}

// --- Constants ----------------------------------------------------------------------------------

using C = Constants;

static_assert(is<Size>(C::MAXIMUM_PATH_BLOCK_SIZE, 128));
static_assert(is<Size>(C::FILE_NAME_SIZE, 256));
static_assert(is<Size>(C::PATH_SIZE, 256));
static_assert(is<Size>(C::FUNC_NAME_SIZE, 128));
static_assert(is<Size>(C::COMP_NAME_SIZE, 64));
static_assert(is<Size>(C::MAXIMUM_MESSAGE_ID_NAME_SIZE, 64));
static_assert(is<Size>(C::LOCALE_NAME_SIZE, 64));
static_assert(is<Size>(C::CODEPAGE_NAME_SIZE, 64));
static_assert(is<Size>(C::DATABUFFER_BUFFER_SIZE, 4096));
static_assert(is<Size>(C::MAXIMUM_MESSAGE_ARGUMENT_SIZE, 1024));
static_assert(is<Size>(C::MAXIMUM_XML_ELEMENT_NAME_SIZE, 128));
static_assert(is<Size>(C::MAXIMUM_DIGIT_NUMERIC_STRING_SIZE, 20));
static_assert(is<Size>(C::MAXIMUM_NUMBER_FILES_ROTATION, 10));
static_assert(is<Size>(C::INITIAL_MESSAGE_ARGUMENT_ARRAY_SIZE, 6));

static_assert(isText(C::CONSTANT_STRING_UTF_8, "UTF-8"));
static_assert(isText(C::CONSTANT_STRING_OPEN_ANGLE, "<"));
static_assert(isText(C::CONSTANT_STRING_CLOSE_ANGLE, ">"));
static_assert(isText(C::CONSTANT_STRING_AMPERSAND, "&"));
static_assert(isText(C::CONSTANT_STRING_SINGLE_QUOTE, "'"));
static_assert(isText(C::CONSTANT_STRING_DOUBLE_QUOTE, "\""));
static_assert(isText(C::CONSTANT_STRING_SPACE, " "));
static_assert(isText(C::CONSTANT_STRING_EQUAL, "="));
static_assert(isText(C::CONSTANT_STRING_BACKSLASH, "\\"));
static_assert(isText(C::XML_OPEN_START_ELEMENT_TAG, "<"));
static_assert(isText(C::XML_OPEN_END_ELEMENT_TAG, "</"));
static_assert(isText(C::XML_OPEN_PI_TAG, "<?"));
static_assert(isText(C::XML_CLOSE_TAG, ">"));
static_assert(isText(C::XML_CLOSE_PI_TAG, "?>"));
static_assert(isText(C::XML_ESCAPED_OPEN_ANGLE, "&lt;"));
static_assert(isText(C::XML_ESCAPED_CLOSE_ANGLE, "&gt;"));
static_assert(isText(C::XML_ESCAPED_AMPERSAND, "&amp;"));
static_assert(isText(C::XML_ESCAPED_DOUBLE_QUOTE, "&quot;"));
static_assert(isText(C::XML_ESCAPED_SINGLE_QUOTE, "&apos;"));
static_assert(isText(C::XML_ESCAPED_BACKSLASH, "&#x5C;"));
static_assert(isText(C::XML_CDATA_START, "<![CDATA["));
static_assert(isText(C::XML_CDATA_END, "]]>"));
static_assert(isText(C::DOCUMENT_CONSTRUCTOR_NAME, "ctor.name"));
static_assert(isText(C::DOCUMENT_CONSTRUCTOR_CONFIG, "ctor.config"));
static_assert(isText(C::DOCUMENT_CONSTRUCTOR_DATA, "ctor.doc.data"));

// --- DebugBuffer --------------------------------------------------------------------------------

static_assert(is<Size>(DebugBuffer::bufsz_, 4096));
static_assert(std::is_same_v<decltype(DebugBuffer::instance_), DebugBuffer*>);

TEST(DebugBufferSignatures, OfTheInstance) { declares<DebugBuffer**, &DebugBuffer::instance_>(); }

}  // namespace
}  // namespace nx::oss
