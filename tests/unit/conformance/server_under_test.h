#pragma once

#include <QString>
#include <QVariant>
#include <memory>

#include "gateway_link.h"

/// A server with a link to it, as the suite needs it. It knows the logins of SampleLogin and
/// answers HostMsgType::securityAccounts (with at least 200 rows for the first login),
/// subscriptions, and the reading and writing of profiles; any other type is refused by name.
class ServerUnderTest {
public:
    virtual ~ServerUnderTest() = default;

    /// A new connection. The server outlives it.
    virtual std::shared_ptr<GatewayLink> makeLink() = 0;
    /// Has the server push to whoever subscribed to the topic.
    virtual void push(const QString& topic, const QVariant& body) = 0;
};
