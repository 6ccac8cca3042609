#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

// Limits that the platforms share.
namespace plexum::portable {

// Bytes that may lie in a TCP client untaken. The peer's further ones stay in the system's buffers,
// which stops the peer.
inline constexpr std::size_t kInboundLimit = std::size_t{1} << 20;

// Bytes that may lie in a TCP client unsent. A SendData that would exceed it sends nothing and is
// error 10055, the number of the environment's TCP client for a lack of buffers.
inline constexpr std::size_t kOutboundLimit = std::size_t{16} << 20;
inline constexpr std::int32_t kNoBufferSpace = 10055;

// Longer times of an event loop are cut to this, so that no sum overflows.
inline constexpr std::chrono::milliseconds kLongestTime = std::chrono::hours(24 * 365);

}  // namespace plexum::portable
