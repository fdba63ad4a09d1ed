#include "platform/http1/connection_bound.h"

#include <tuple>

namespace Http1 {

namespace {

auto Rank(const WaitingConnection& connection, WaitingConnection::TimePoint now) {
    const bool isRecent = connection.hasSentRequest && now - connection.since < kRecentAnswer;
    return std::tuple(isRecent, connection.hasSentRequest, connection.isVerified, connection.since);
}

}  // namespace

bool GivesWayBefore(const WaitingConnection& one, const WaitingConnection& other,
                    WaitingConnection::TimePoint now) {
    return Rank(one, now) < Rank(other, now);
}

}  // namespace Http1
