#pragma once

#include <QTemporaryDir>
#include <memory>

#include "sample_market.h"
#include "scripted_link.h"
#include "server_engine.h"
#include "small_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

/// A server over a small sample market, with the last answer that it gave.
class MarketServer {
public:
    /// Makes the market; false with a text on failure.
    bool make(QString* error) {
        return makeSampleMarket(m_dir.path(), smallMarket(), {}, error) && open(error);
    }
    /// Opens the server again, on the state of a file or, with an empty name, on a new one.
    bool open(QString* error, const QString& stateFile = {}) {
        engine.reset();
        auto state = ServerState::open(stateFile, error);
        engine = state ? ServerEngine::open(marketStoreFile(m_dir.path()), error, state) : nullptr;
        if (engine) {
            session = engine->openSession({});
        }
        return engine != nullptr;
    }
    QString staticFile() const { return staticDatabaseFile(m_dir.path()); }
    QString storeFile() const { return marketStoreFile(m_dir.path()); }

    /// The header of the answer.
    QVariantMap ask(const QString& msgType, QVariantMap fields) {
        fields.insert(System::msgType, msgType);
        answer = engine->handle(session, msgType, packRows(fields, {}));
        return headerOf(answer);
    }
    /// The text of a refusal; empty after a success.
    QString refusal(const QString& msgType, const QVariantMap& fields) {
        const QVariantMap header = ask(msgType, fields);
        return header.value(System::requestExeStatus).toString() == RequestExeStatus::success
                   ? QString()
                   : header.value(System::textDescription).toString();
    }
    QList<QVariantMap> rows() const { return rowsOf(answer); }
    QStringList column(const QString& field) const {
        QStringList values;
        for (const QVariantMap& row : rows()) {
            values.append(row.value(field).toString());
        }
        return values;
    }

    std::shared_ptr<ServerEngine> engine;
    Session session;
    QVariant answer;

private:
    QTemporaryDir m_dir;
};
