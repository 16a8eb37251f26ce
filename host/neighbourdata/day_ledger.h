#pragma once

#include <QHash>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <memory>

#include "day_opening.h"
#include "day_records.h"

/// Positions and cash of the accounts. One thread at a time.
class DayLedger {
public:
    struct Holding {
        std::shared_ptr<const Instrument> instrument;
        QString securityAccount;
        qint64 quantity = 0;
        double averageCost = 0;
        qint64 boughtToday = 0;
    };
    /// By symbol and exchange.
    using Holdings = QMap<QPair<QString, QString>, Holding>;
    struct Account {
        DayOpening::Account opening;
        double moved = 0;  ///< what the deals have added to the opening cash
        Holdings holdings;

        double cash() const { return opening.cash + moved; }
    };

    DayLedger() = default;
    /// Positions of unknown securities and figures that are not finite or above kMostAmount are
    /// left out, with a warning each. Rows of one account, symbol and exchange become one position:
    /// their quantities added, their costs averaged.
    explicit DayLedger(const DayOpening& opening);

    const QStringList& order() const { return m_order; }
    bool contains(const QString& tradingAccount) const {
        return m_accounts.contains(tradingAccount);
    }
    /// Of a known account.
    const Account& account(const QString& tradingAccount) const {
        return m_accounts.find(tradingAccount).value();
    }
    /// Keeps the former cash, with a warning, when the new one is not finite or above kMostAmount.
    void setOpeningCash(const QString& tradingAccount, double cash);

    /// False with a text when an amount would leave its range or a security account is missing;
    /// changes nothing then. The account must be known.
    bool add(const DayDeal& deal, QString* error);
    bool set(const DayPosition& position, QString* error);

    /// The record of a position.
    static QVariantMap rowOf(const QString& tradingAccount, const Holding& holding);

private:
    bool addOpening(const DayOpening::Position& row, QString* error);

    QStringList m_order;
    QHash<QString, Account> m_accounts;
};
