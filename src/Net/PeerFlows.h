#pragma once

#include "Platform/DatagramSocket.h"

#include <QSet>

#include <array>
#include <deque>

/// The peers that have sent something, each once, in the order of their first datagram.
///
/// A peer is found in constant time and takes well under 200 bytes. The index is made of many
/// small tables that grow at different moments, so that no single datagram of a large crowd has
/// to wait for one big table to be rebuilt.
class PeerFlows {
public:
    using Iterator = std::deque<DatagramPeer>::const_iterator;

    /// Returns false when the peer was known.
    bool insert(const DatagramPeer& peer);
    void clear();

    [[nodiscard]] size_t size() const { return m_peers.size(); }
    [[nodiscard]] Iterator begin() const { return m_peers.begin(); }
    [[nodiscard]] Iterator end() const { return m_peers.end(); }

private:
    static constexpr size_t shardCount = 512;

    std::deque<DatagramPeer> m_peers;
    std::array<QSet<DatagramPeer>, shardCount> m_index;
};
