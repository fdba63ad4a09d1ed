#include "platform/pellmar/log/journal_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace Pellmar::Service {

namespace {

// Returns 0 or an error number. Passes the address with each datagram, since a connection would
// stay with a journal that has been replaced.
int SendMessage(int socket, const std::string& path, msghdr message) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        return ENAMETOOLONG;
    }
    path.copy(address.sun_path, path.size());
    message.msg_name = &address;
    message.msg_namelen = sizeof(address);
    ssize_t sent = 0;
    do {
        sent = ::sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

// A sealed memfd that contains `record`; the journal rejects files that may still change.
Sys::OwnedFd SealedFile(std::string_view record) {
    Sys::OwnedFd file(::memfd_create("sentrel-log", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    while (file.IsOpen() && !record.empty()) {
        const ssize_t written = ::write(file.Get(), record.data(), record.size());
        if (written <= 0 && errno != EINTR) {
            return {};
        }
        record.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    if (::fcntl(file.Get(), F_ADD_SEALS,
                F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0) {
        return {};
    }
    return file;
}

JournalSocket::Outcome OutcomeOf(int error) {
    switch (error) {
        case 0:
            return JournalSocket::Outcome::Sent;
        case EAGAIN:
            return JournalSocket::Outcome::Full;
        default:
            return JournalSocket::Outcome::Unavailable;
    }
}

}  // namespace

JournalSocket::JournalSocket(std::string path)
    : path(std::move(path)), socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

JournalSocket::Outcome JournalSocket::Send(std::string_view record) const {
    iovec piece{const_cast<char*>(record.data()), record.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    const int error = SendMessage(socket.Get(), path, message);
    return error == EMSGSIZE || error == ENOBUFS ? SendAsFile(record) : OutcomeOf(error);
}

JournalSocket::Outcome JournalSocket::SendAsFile(std::string_view record) const {
    const Sys::OwnedFd file = SealedFile(record);
    if (!file.IsOpen()) {
        return Outcome::Unavailable;
    }
    const int descriptor = file.Get();
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(descriptor))] = {};
    msghdr message{};
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(descriptor));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof(descriptor));
    return OutcomeOf(SendMessage(socket.Get(), path, message));
}

}  // namespace Pellmar::Service
