#include "decoding/confined/protocol.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace kivra::protocol {

namespace {

// Room for one descriptor, aligned as the system wants it.
union Attachment {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

} // namespace

bool send(int socket, const Message &message, int descriptor)
{
    Message copy = message;
    iovec content = {&copy, sizeof copy};
    msghdr envelope = {};
    envelope.msg_iov = &content;
    envelope.msg_iovlen = 1;
    Attachment attachment = {};
    if (descriptor >= 0) {
        envelope.msg_control = attachment.bytes;
        envelope.msg_controllen = sizeof attachment.bytes;
        cmsghdr *const header = CMSG_FIRSTHDR(&envelope);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    return sendmsg(socket, &envelope, MSG_DONTWAIT | MSG_NOSIGNAL) == ssize_t(sizeof copy);
}

// Offers no room for descriptors, so the system closes any that come along.
Received receive(int socket, Message *message)
{
    iovec content = {message, sizeof *message};
    msghdr envelope = {};
    envelope.msg_iov = &content;
    envelope.msg_iovlen = 1;
    ssize_t length = 0;
    do
        length = recvmsg(socket, &envelope, MSG_DONTWAIT);
    while (length < 0 && errno == EINTR);
    if (length < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK ? Received::Nothing : Received::Broken;
    const bool isWhole = length == ssize_t(sizeof *message) && !(envelope.msg_flags & MSG_TRUNC);
    return isWhole ? Received::Message : Received::Broken;
}

bool await(int socket, Message *message, Descriptor *descriptor)
{
    iovec content = {message, sizeof *message};
    Attachment attachment = {};
    msghdr envelope = {};
    envelope.msg_iov = &content;
    envelope.msg_iovlen = 1;
    envelope.msg_control = attachment.bytes;
    envelope.msg_controllen = sizeof attachment.bytes;
    ssize_t length = 0;
    do
        length = recvmsg(socket, &envelope, MSG_CMSG_CLOEXEC);
    while (length < 0 && errno == EINTR);
    const cmsghdr *const header = CMSG_FIRSTHDR(&envelope);
    int number = -1;
    if (header && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS)
        std::memcpy(&number, CMSG_DATA(header), sizeof number);
    *descriptor = Descriptor(number);
    return length == ssize_t(sizeof *message);
}

} // namespace kivra::protocol
