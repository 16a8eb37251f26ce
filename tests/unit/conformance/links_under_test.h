#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "embedded_server.h"
#include "recorded_server.h"
#include "scripted_server.h"
#include "server_under_test.h"

/// Every link to a server; the whole suite runs on each. To add a link, add a line here.
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
