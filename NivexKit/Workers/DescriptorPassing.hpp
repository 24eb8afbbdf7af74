#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace nivex {

/// Two connected sockets that keep the borders between packets; closed when a program is started.
std::optional<std::pair<FileDescriptor, FileDescriptor>> packetSockets();

/// Two connected sockets that carry a stream of bytes; closed when a program is started.
std::optional<std::pair<FileDescriptor, FileDescriptor>> streamSockets();

/// Sends one packet together with copies of open descriptors, at most `maxPassedDescriptors`. Never waits and never
/// raises a signal. False when the other end is closed or its queue is full (`errno` tells).
bool sendPacket(int socket, std::string_view text, std::span<const int> descriptors = {});

inline constexpr std::size_t maxPassedDescriptors = 4;
inline constexpr std::size_t maxPacketBytes = 4096;

struct Packet {
    std::string text;
    std::vector<FileDescriptor> descriptors;
};

/// Waits for the next packet. None when the other end is closed, or when the packet was longer than `maxPacketBytes`.
std::optional<Packet> receivePacket(int socket);

} // namespace nivex
