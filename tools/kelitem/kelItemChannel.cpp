#include "kelitem/kelItemChannel.h"

#include <infra/oss/kelSocketException.h>

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "common/kelReport.h"
#include "kelitem/kelItemLength.h"
#include "kelitem/kelStatistics.h"

namespace tools {

namespace {

/// Items above that go in parts, so that there is something to show on the way.
constexpr unsigned long PART_SIZE = 1UL << 20U;
constexpr std::chrono::milliseconds BETWEEN_SHOWS(200);
/// Those above show at least their end.
constexpr unsigned long LONG_TRANSFER = 16UL << 20U;

void setTimeout(long descriptor, int option, unsigned long timeoutMs) {
    timeval limit{};
    limit.tv_sec = static_cast<time_t>(timeoutMs / 1000);
    limit.tv_usec = static_cast<suseconds_t>(timeoutMs % 1000 * 1000);
    if (setsockopt(static_cast<int>(descriptor), SOL_SOCKET, option, &limit, sizeof limit) != 0) {
        failWithErrno("set a time-out");
    }
}

}  // namespace

Progress::Progress(std::string what, unsigned long total)
    : what_(std::move(what)), total_(isatty(STDERR_FILENO) != 0 ? total : 0) {}

Progress::~Progress() {
    if (isShown_) {
        std::fputs("\n", stderr);
    }
}

void Progress::advance(unsigned long bytes) {
    done_ += bytes;
    const bool isLongOver = total_ > LONG_TRANSFER && done_ == total_;
    if (total_ != 0 && (isLongOver || Clock::now() - last_ >= BETWEEN_SHOWS)) {
        show();
    }
}

void Progress::show() {
    last_ = Clock::now();
    const double seconds = std::chrono::duration<double>(last_ - start_).count();
    const double rate = static_cast<double>(done_) / std::max(seconds, 1e-6);
    std::fprintf(
        stderr, "\r%s %s of %s, %.0f %%, %s/s   ", what_.c_str(),
        sizeText(static_cast<double>(done_)).c_str(), sizeText(static_cast<double>(total_)).c_str(),
        100 * static_cast<double>(done_) / static_cast<double>(total_), sizeText(rate).c_str());
    isShown_ = true;
}

ItemChannel::ItemChannel(nx::oss::Socket& socket, unsigned long timeoutMs, unsigned long maxLength)
    : socket_(socket), maxLength_(maxLength) {
    // Two sends make an item; the second would wait for the other side otherwise.
    socket.setTcpNoDelay(true);
    setTimeout(socket.getDescriptor(), SO_RCVTIMEO, timeoutMs);
    setTimeout(socket.getDescriptor(), SO_SNDTIMEO, timeoutMs);
}

void ItemChannel::send(std::string_view item) {
    if (item.size() <= PART_SIZE) {
        socket_.writeItem(item.data(), 0, item.size());
        return;
    }
    Progress progress("sent", item.size());
    const LengthPrefix prefix = prefixOf(item.size());
    socket_.write(prefix.data(), 0, prefix.size());
    for (std::size_t done = 0; done < item.size();) {
        const std::size_t part = std::min(PART_SIZE, item.size() - done);
        socket_.write(item.data(), done, part);
        done += part;
        progress.advance(part);
    }
}

/// The length that the next item announces; nothing is taken off the connection. 0 when the other
/// side has closed.
unsigned long ItemChannel::announcedLength() {
    LengthPrefix prefix{};
    const ssize_t count = recv(static_cast<int>(socket_.getDescriptor()), prefix.data(),
                               prefix.size(), MSG_PEEK | MSG_WAITALL);
    if (count < 0) {
        throw nx::oss::SocketException("kelItemChannel.cpp", __LINE__, &socket_.getHostName(),
                                       socket_.getPort(), errno);
    }
    if (count != 0 && count != static_cast<ssize_t>(PREFIX_SIZE)) {
        throw Failure("the other side sent " + std::to_string(count) +
                      " of the 4 bytes of a length, and no more");
    }
    return lengthIn(prefix);
}

unsigned long ItemChannel::receiveInParts(unsigned long length) {
    Progress progress("received", length);
    LengthPrefix prefix{};
    socket_.read(prefix.data(), 0, prefix.size());
    unsigned long done = 0;
    while (done < length) {
        const unsigned long wanted = std::min(PART_SIZE, length - done);
        const unsigned long part = socket_.read(buffer_.get(), done, wanted);
        done += part;
        progress.advance(part);
        if (part < wanted) {
            break;
        }
    }
    return done;
}

std::string_view ItemChannel::receive() {
    unsigned long announced = announcedLength();
    if (announced > capacity_ && announced <= maxLength_) {
        // Uninitialised memory: the system provides only the pages that bytes reach.
        buffer_.reset(new char[announced]);
        capacity_ = announced;
    }
    const bool inParts = announced > PART_SIZE && announced <= maxLength_;
    const unsigned long limit = announced > maxLength_ ? maxLength_ : capacity_;
    const unsigned long received = inParts ? receiveInParts(announced)
                                           : socket_.readItem(buffer_.get(), announced, 0, limit,
                                                              /*discardOversized=*/false);
    if (received < announced) {
        throw Failure("the other side closed after " + std::to_string(received) + " of " +
                      std::to_string(announced) + " bytes of an item");
    }
    return {buffer_.get(), received};
}

}  // namespace tools
