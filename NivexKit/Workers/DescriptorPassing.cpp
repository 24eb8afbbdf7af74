#include "NivexKit/Workers/DescriptorPassing.hpp"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace nivex {
namespace {

constexpr std::size_t controlBytes = CMSG_SPACE(maxPassedDescriptors * sizeof(int));

std::optional<std::pair<FileDescriptor, FileDescriptor>> sockets(int type)
{
    int ends[2];
    if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0)
        return std::nullopt;
    return std::pair{FileDescriptor{ends[0]}, FileDescriptor{ends[1]}};
}

std::vector<FileDescriptor> descriptorsIn(msghdr& message)
{
    std::vector<FileDescriptor> result;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(header) + i * sizeof(int), sizeof descriptor);
            result.emplace_back(descriptor);
        }
    }
    return result;
}

} // namespace

std::optional<std::pair<FileDescriptor, FileDescriptor>> packetSockets() { return sockets(SOCK_SEQPACKET); }

std::optional<std::pair<FileDescriptor, FileDescriptor>> streamSockets() { return sockets(SOCK_STREAM); }

bool sendPacket(int socket, std::string_view text, std::span<const int> descriptors)
{
    std::string copy{text};
    iovec content{copy.data(), copy.size()};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, controlBytes> control{};
    if (!descriptors.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
    }
    ssize_t sent = -1;
    do
        sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(text.size());
}

std::optional<Packet> receivePacket(int socket)
{
    Packet packet;
    packet.text.resize(maxPacketBytes);
    iovec content{packet.text.data(), packet.text.size()};
    alignas(cmsghdr) std::array<char, controlBytes> control{};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    ssize_t received = -1;
    do
        received = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    while (received < 0 && errno == EINTR);
    if (received <= 0)
        return std::nullopt;
    packet.descriptors = descriptorsIn(message);
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        return std::nullopt;
    packet.text.resize(static_cast<std::size_t>(received));
    return packet;
}

} // namespace nivex
