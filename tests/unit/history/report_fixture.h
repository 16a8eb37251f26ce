#pragma once

#include <QMap>
#include <QStringList>
#include <QVariantMap>
#include <QtTest>
#include <functional>
#include <utility>

#include "account_type_reader.h"
#include "client_world.h"
#include "held_close.h"
#include "symbol_data_reader.h"

/// A presenter over a scripted link.
class ReportWorld {
public:
    ReportWorld() : m_presenter(new RecordingPresenter) { m_presenter->initPresenter(); }
    ~ReportWorld() {
        if (m_presenter) {
            m_presenter->deleteLater();
        }
    }

    ScriptedLink& link() { return m_world.link(); }
    ZnPresenterClass* presenter() const { return m_presenter; }
    /// Closes the presenter, which fails its pending requests, and deletes it after `act`.
    void whileClosing(const std::function<void()>& act) {
        const HeldClose close(std::exchange(m_presenter, nullptr));
        QVERIFY(close.isClosing());
        act();
    }

private:
    ClientWorld m_world;
    RecordingPresenter* m_presenter;
};

/// Accounts by name, each with its type.
class AccountTypes : public AccountTypeReader {
public:
    QMap<QString, QString> types;

    QStringList accountsOfType(const QStringList& accounts, const QString& type) const override {
        QStringList kept;
        for (const QString& account : accounts) {
            if (types.contains(account) && types.value(account) == type) {
                kept.append(account);
            }
        }
        return kept;
    }
};

/// A symbol is the id and the exchange with a dot between them.
class DottedSymbols : public SymbolDataReader {
public:
    QString symbolOf(const QString& securityID, const QString& exchange) const override {
        return securityID + QLatin1Char('.') + exchange;
    }
    QVariantMap detailsOf(const QString&) const override { return {}; }
    QString securityTypeOf(const QString&) const override { return {}; }
    int displayFactorOf(const QString&) const override { return 1; }
    QMap<QString, QVariantMap> hongKongRates() const override { return {}; }
};
