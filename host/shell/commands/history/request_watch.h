#pragma once

#include <QStringList>
#include <functional>
#include <memory>

#include "gateway_link.h"

/// Watches the requests of history lists between client and server. The exported functions of these
/// lists return what they have and do not report that a request failed. Any thread.
class RequestWatch {
public:
    RequestWatch();

    /// Puts a link around another one that reports to this watch, and may outlive it.
    std::function<std::unique_ptr<GatewayLink>(std::unique_ptr<GatewayLink>)> wrap() const;

    /// A text for each request since the last call whose last attempt did not get a usable answer:
    /// its accounts and days. A request that succeeded when it was sent again is not one of them.
    QStringList takeLost();

private:
    class Requests;
    class Link;

    const std::shared_ptr<Requests> m_requests;
};
