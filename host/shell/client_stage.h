#pragma once

#include <QVector>
#include <memory>

#include "client.h"
#include "facade_questions.h"
#include "scenario_stage.h"
#include "scenario_tape.h"

/// Runs a scenario on the local client. One per process, on the main thread.
class ClientStage : public ScenarioStage {
public:
    ClientStage(const Client::Options& options, std::shared_ptr<ScenarioTape> tape);
    ~ClientStage() override;
    Q_DISABLE_COPY(ClientStage)

    bool listenTo(const QString& event, QString* error) override;
    bool setSetting(const QString& name, const QString& value, QString* error) override;
    FaultPlan& faults() override;
    void setClock(const QDateTime& time) override;
    void advanceClock(qint64 ms) override;
    bool begin(const QString& user, QString* error) override;
    bool ready(int limitMs, QString* error) override;
    int push(const QString& topic, const QVariant& body, const QString& user) override;
    bool putMessage(const QString& user, const QVariantMap& message, QString* error) override;
    bool hasMessageSubscriber(const QString& user) const override;
    bool putPatch(const QVariantMap& patch, QString* error) override;
    bool hasPatchSubscriber() const override;
    void tick(const QString& symbol, const QVariantMap& fields, const QString& source) override;
    void setGate(const QString& gate, const QString& netState) override;
    bool putDeal(const QVariantMap& deal, QString* error) override;
    bool putPosition(const QVariantMap& position, QString* error) override;
    bool putOrder(const QVariantMap& order, QString* error) override;
    bool readBook(const QString& account, QJsonObject* answer, QString* error) override;
    bool reloadBook(QString* error) override;
    bool checkMessages(QJsonObject* answer, QString* error) override;
    bool repairMessages(QString* error) override;
    bool call(const QString& function, const QStringList& arguments, QJsonObject* answer,
              QString* error) override;
    int pendingRequests() const override;
    bool waitUntil(const std::function<bool()>& predicate, int limitMs) override;

    /// Stops the client.
    void stop();

private:
    struct Event {
        int id = 0;
        QString name;
    };
    class Watcher;

    void platformStarted();
    FacadeAsk asking();
    /// Null with a text when the client has none.
    DayBook* book(QString* error) const;

    Client::Options m_options;
    const std::shared_ptr<ScenarioTape> m_tape;
    QVector<Event> m_events;
    QDateTime m_time;
    std::unique_ptr<Client> m_client;
};
