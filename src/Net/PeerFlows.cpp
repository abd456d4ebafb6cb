#include "Net/PeerFlows.h"

#include <limits>

bool PeerFlows::insert(const DatagramPeer& peer)
{
    // A table uses the low bits of the same hash, so the high ones choose among the tables.
    const size_t hash = qHash(peer, QHashSeed::globalSeed());
    QSet<DatagramPeer>& shard =
        m_index[(hash >> (std::numeric_limits<size_t>::digits / 2)) % shardCount];
    const auto sizeBefore = shard.size();
    shard.insert(peer);
    if (shard.size() == sizeBefore)
        return false;
    m_peers.push_back(peer);
    return true;
}

void PeerFlows::clear()
{
    m_peers.clear();
    m_index.fill({});
}
