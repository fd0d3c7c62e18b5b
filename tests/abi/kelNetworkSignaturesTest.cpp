// The operations and constructors of sockets, servers, address records and threads.
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include <cstdint>
#include <list>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "kelSignatures.h"

namespace nx::oss {
namespace {

using namespace signatures;
using Limit = const unsigned long*;

// --- Socket -------------------------------------------------------------------------------------

using S = Socket;
using Record = Socket::_AddrInfoExternal;
using Set = Socket::DescriptorSet;
using Sockets = std::list<Socket>;

static_assert(std::has_virtual_destructor_v<S> && COPYABLE<S>);
static_assert(std::is_default_constructible_v<S>);
static_assert(CONSTRUCTS<S, long> && !CONVERTS<S, long>);
// A socket that is moved is copied: the lists that are waited on never get to own a descriptor.
static_assert(!std::is_nothrow_move_constructible_v<S> && !std::is_nothrow_move_assignable_v<S>);

static_assert(sizeof(Set) == 1023 * 8 && std::is_trivial_v<Set>);
static_assert(std::is_same_v<decltype(Set::words), std::uint64_t[1023]>);
static_assert(std::has_virtual_destructor_v<S::CSocketInitializer>);
static_assert(std::is_default_constructible_v<S::CSocketInitializer>);

TEST(SocketSignatures, OfConnections) {
    declares<Does<S, String, Size, Limit>, &S::connect>();
    declares<Does<S, String, Size, const Record&, Limit>, &S::connect>();
    declares<Does<S>, &S::close>();
    declares < Gives<S, S&, const S&>, &S::operator=>();
    declares<Does<S, bool>, &S::setNonBlocking>();
    declares<Does<S, bool>, &S::setTcpNoDelay>();
    declares<Does<S, long>, &S::setSoTimeout>();
    declares<Does<S>, &S::shutdownRead>();
    declares<Does<S>, &S::shutdownWrite>();
    declares<Does<S>, &S::shutdownReadWrite>();
    declares<Reads<S, long>, &S::getDescriptor>();
    declares<Reads<S, String>, &S::getHostName>();
    declares<Reads<S, Size>, &S::getPort>();
    declares<Reads<S, bool>, &S::isOwner>();
}

TEST(SocketSignatures, OfTransfers) {
    declares<Does<S, Bytes, Size, Size>, &S::write>();
    declares<Gives<S, Size, char*, Size, Size>, &S::read>();
    declares<Gives<S, long, char*, Size, Size>, &S::readOnce>();
    declares<Does<S, Bytes, Size, Size>, &S::writeItem>();
    declares<Gives<S, Size, char*, Size&, Size, Size, bool>, &S::readItem>();
}

TEST(SocketSignatures, OfStatics) {
    declares<long (*)(long), &S::closeStatic>();
    declares<long (*)(long, bool), &S::setNonBlockingStatic>();
    declares<long (*)(long, const UnicodeString*, Size), &S::getSocketErrorStatic>();
    declares<long (*)(Sockets&, Sockets&, Sockets&, Limit), &S::select>();
    declares<void (*)(Set&, const Sockets&), &S::fromListToFdSet>();
    declares<long (*)(const Sockets&), &S::highestValue>();
    declares<void (*)(Sockets&, const Set&), &S::removeIfNotInSet>();
}

TEST(SocketSignatures, OfAddressRecords) {
    declares<int (*)(String, unsigned short, Record&), &S::exportAddrInfo>();
    declares<Size (*)(char*, Size, const addrinfo*), &S::serialize>();
    declares<Size (*)(addrinfo*, Bytes, Size), &S::deserialize>();
    declares<addrinfo* (*)(const Record&), &S::deserializeAddrInfoExternal>();
    declares<void (*)(addrinfo*), &S::freeMyAddrInfo>();
    declares<bool (*)(UnicodeString&, String, bool), &S::dnsLookup>();
    declares<Size (*)(char*, Size, String), &S::getIPv4ByName>();
    declares<const Record*, &S::NullAddrInfoExternal>();
}

// --- SocketServer -------------------------------------------------------------------------------

using Server = SocketServer;

static_assert(std::has_virtual_destructor_v<Server> && NEVER_COPIED<Server>);
static_assert(std::is_default_constructible_v<Server>);

TEST(SocketServerSignatures, OfOperations) {
    declares<Does<Server, Size, Size, bool>, &Server::listen>();
    declares<Does<Server, S&, Limit>, &Server::accept>();
    declares<Does<Server>, &Server::shutdownRead>();
    declares<Does<Server>, &Server::shutdownWrite>();
    declares<Does<Server>, &Server::shutdownReadWrite>();
    declares<void (*)(long, bool, const UnicodeString*, Size), &Server::setReuseAddress>();
    declares<Size (*)(long, const UnicodeString*, Size), &Server::getPortStatic>();
    declares<Reads<Server, Size>, &Server::getPort>();
    declares<Reads<Server, bool>, &Server::isListening>();
    declares<Reads<Server, String>, &Server::getHostName>();
    declares<Reads<Server, long>, &Server::getDescriptor>();
}

// --- Thread -------------------------------------------------------------------------------------

using T = Thread;

static_assert(std::is_abstract_v<Runnable> && std::has_virtual_destructor_v<Runnable>);
static_assert(!std::is_polymorphic_v<T> && NEVER_COPIED<T>);
static_assert(!std::is_default_constructible_v<T> && CONSTRUCTS<T, Runnable*, bool>);
static_assert(!CONSTRUCTS<T, Runnable*>);
static_assert(is<int>(T::DEFAULT_PRIORITY, 5));

TEST(ThreadSignatures, OfOperations) {
    declares<Gives<T, int>, &T::start>();
    declares<Gives<T, int>, &T::join>();
    declares<Gives<T, int>, &T::detach>();
    declares<Gives<T, int>, &T::setDetachState>();
    declares<Gives<T, int>, &T::stop>();
    declares<void (*)(Size), &T::sleep>();
    declares<Gives<T, bool, Bytes>, &T::setName>();
    declares<Gives<T, Bytes>, &T::getName>();
    declares<Gives<T, int>, &T::getPriority>();
    declares<Does<T, int>, &T::setPriority>();
    declares<Reads<T, bool>, &T::isRunning>();
    declares<Reads<T, bool>, &T::isJoinable>();
    declares<const int*, &T::DEFAULT_PRIORITY>();
    declares<Does<Runnable>, &Runnable::run>();
    declares<void* (*)(void*), &thread_run_stub>();
}

}  // namespace
}  // namespace nx::oss
