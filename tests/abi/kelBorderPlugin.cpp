// A plug-in that throws and catches exceptions of the library on behalf of kelBorderTest.
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

using nx::oss::BaseException;
using nx::oss::IOException;
using nx::oss::Message;
using nx::oss::MessageList;
using nx::oss::NLSException;
using nx::oss::SocketException;
using nx::util::Base64Exception;
using nx::util::PropertiesException;

namespace {

template <class Exception>
[[noreturn]] void raiseWithOneRecord() {
    Exception exception;
    exception.messages.addMessage(
        Message("ERR_FROM_PLUGIN", Message::DEFAULT, "kelBorderPlugin.cpp", 1));
    exception.messages.getFirstMessage().addArgument(42);
    throw exception;
}

}  // namespace

extern "C" {

#define PLUGIN_EXPORT __attribute__((visibility("default")))

PLUGIN_EXPORT void raiseBase() { raiseWithOneRecord<BaseException>(); }
PLUGIN_EXPORT void raiseIO() { raiseWithOneRecord<IOException>(); }
PLUGIN_EXPORT void raiseNLS() { raiseWithOneRecord<NLSException>(); }
PLUGIN_EXPORT void raiseSocket() { raiseWithOneRecord<SocketException>(); }
PLUGIN_EXPORT void raiseBase64() { raiseWithOneRecord<Base64Exception>(); }
PLUGIN_EXPORT void raiseProperties() { raiseWithOneRecord<PropertiesException>(); }
PLUGIN_EXPORT void raiseFromLibrary() { MessageList().getFirstMessage(); }

// The name of the handler that caught what `raise` throws.
PLUGIN_EXPORT const char* catchByClass(void (*raise)()) {
    try {
        raise();
    } catch (const IOException&) {
        return "IOException";
    } catch (const NLSException&) {
        return "NLSException";
    } catch (const SocketException&) {
        return "oss::SocketException";
    } catch (const Base64Exception&) {
        return "Base64Exception";
    } catch (const PropertiesException&) {
        return "PropertiesException";
    } catch (const BaseException&) {
        return "oss::BaseException";
    } catch (...) {
        return "nothing that the plug-in knows";
    }
    return "nothing";
}
}
