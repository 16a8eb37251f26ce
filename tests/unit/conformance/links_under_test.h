#pragma once

#include <QTemporaryDir>
#include <functional>
#include <memory>
#include <vector>

#include "embedded_link.h"
#include "recorded_server.h"
#include "sample_market.h"
#include "scripted_server.h"
#include "server_engine.h"
#include "server_under_test.h"
#include "small_market.h"

/// The server engine over a sample market, in this process.
class EmbeddedServer : public ServerUnderTest {
public:
    EmbeddedServer() {
        static const QTemporaryDir dir;
        static QString error;
        static const bool made = makeSampleMarket(dir.path(), smallMarket(), {}, &error);
        m_engine = made ? ServerEngine::open(marketStoreFile(dir.path()), &error) : nullptr;
        if (!m_engine) {
            qFatal("no server engine: %s", qPrintable(error));
        }
    }

    std::shared_ptr<GatewayLink> makeLink() override {
        return std::make_shared<EmbeddedLink>(m_engine);
    }
    void push(const QString& topic, const QVariant& body) override { m_engine->push(topic, body); }

private:
    std::shared_ptr<ServerEngine> m_engine;
};

/// Every link to a server; the suite runs as a whole on each. A link joins by a line here.
struct LinkKind {
    const char* name;
    std::function<std::unique_ptr<ServerUnderTest>()> makeServer;
};

inline const std::vector<LinkKind>& linksUnderTest() {
    static const std::vector<LinkKind> kinds{
        {"embedded link", [] { return std::make_unique<EmbeddedServer>(); }},
        {"recorded link", [] { return std::make_unique<RecordedServer<EmbeddedServer>>(); }},
        {"scripted link", [] { return std::make_unique<ScriptedServer>(); }},
    };
    return kinds;
}
