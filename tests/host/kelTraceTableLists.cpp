#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSUtility.h>

#include <utility>

#include "kelTraceTable.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

Message record(const char* identifier) { return {identifier, Message::DEFAULT, "f.cpp", 1}; }

}  // namespace

std::vector<Row> rowsOfListsAndLocales() {
    return {
        {483919157, "MessageList_constructors", EXIT,
         [](Probe& calls) {
             construct<MessageList>(calls);
             construct<MessageList>(calls, record("A"));
             construct<MessageList>(calls, MessageList(record("A")));
         }},
        {483919158, "MessageList_destructor", EXIT,
         [](Probe& calls) { destroy<MessageList>(calls, record("A")); }},
        {483919159, "MessageList_addMessage", BOTH,
         [](Probe& calls) {
             MessageList list;
             const Message message = record("A");
             calls([&] { list.addMessage(message); });
         }},
        {483919160, "MessageList_insertMessage", BOTH,
         [](Probe& calls) {
             MessageList list;
             const Message message = record("A");
             calls([&] { list.insertMessage(message); });
         }},
        {483919161, "MessageList_join", BOTH,
         [](Probe& calls) {
             MessageList list;
             const MessageList other(record("A"));
             calls([&] { list.join(other); });
         }},
        {483919162, "MessageList_getFirstMessage", EXIT,
         [](Probe& calls) {
             MessageList list(record("A"));
             calls([&] { std::as_const(list).getFirstMessage(); });
             calls([&] { list.getFirstMessage(); });
         }},
        {483919163, "MessageList_getFirstMsg", EXIT,
         [](Probe& calls) {
             MessageList list(record("A"));
             calls([&] { list.getFirstMsg(); });
         }},
        {483919164, "MessageList_getNextMsg", EXIT,
         [](Probe& calls) {
             MessageList list(record("A"));
             calls([&] { list.getNextMsg(); });
         }},
        {483919165, "MessageList_clear", BOTH,
         [](Probe& calls) {
             MessageList list(record("A"));
             calls([&] { list.clear(); });
         }},

        {483919166, "NLSUtility_constructor", EXIT,
         [](Probe& calls) { construct<NLSUtility>(calls); }},
        {483919167, "NLSUtility_destructor", EXIT,
         [](Probe& calls) { destroy<NLSUtility>(calls); }},
        {483919168, "NLSUtility_getInstance", EXIT,
         [](Probe& calls) {
             calls([] { NLSUtility::getInstance(); });
             calls([] { NLSUtility::getInstance(); });
         }},
        {483919169, "NLSUtility_isSupported", BOTH,
         [](Probe& calls) {
             const NLSUtility& utility = NLSUtility::getInstance();
             calls([&] { ignore(utility.isSupported("deDE")); });
         }},
        {483919170, "NLSUtility_getStandardLocaleValue", BOTH,
         [](Probe& calls) {
             const NLSUtility& utility = NLSUtility::getInstance();
             calls([&] { utility.getStandardLocaleValue("de_DE"); });
         }},
        {483919171, "NLSUtility_getLocale", BOTH,
         [](Probe& calls) {
             const NLSUtility& utility = NLSUtility::getInstance();
             icu::Locale locale;
             calls([&] { utility.getLocale(locale, "de_DE"); });
         }},
        {483919172, "NLSUtility_getEnvironmentLocale", BOTH,
         [](Probe& calls) {
             NLSUtility& utility = NLSUtility::getInstance();
             calls([&] { utility.getEnvironmentLocale(); });
         }},
    };
}

}  // namespace nx::test
