#pragma once

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QVariantMap>
#include <QVector>
#include <functional>

#include "command_answer.h"
#include "facade_questions.h"

/// Shows the market value that the exported functions answer, with the positions, prices and rates
/// that make it up. For one thread.
class ValueCommand {
public:
    /// What does not come from the exported functions.
    struct Sources {
        /// Position rows of an account, from the neighbouring data plug-in.
        std::function<QList<QVariantMap>(const QString& account)> positionsOf;
        /// The last price of a symbol; 0 before its first tick.
        std::function<double(const QString& symbol)> lastPrice;
    };

    ValueCommand(const FacadeLibrary& library, const FacadeAsk& ask, const Sources& sources);

    /// Symbols of these accounts' positions that have no price yet.
    QStringList symbolsWithoutPrice(const QStringList& accounts);
    /// Accounts without positions are only counted. Lines are cut to `columns`.
    CommandAnswer show(const QStringList& accounts, int columns);
    /// Compares the running totals with a reckoning from all positions; a difference is a fault.
    CommandAnswer check(const QStringList& accounts, int columns);

private:
    struct Instrument {
        QString symbol;  ///< "?" and the id for an unknown one
        bool isKnown = true;
        double factor = 1;
        double multiplier = 1;
    };
    struct Row {
        QString symbol;
        QString exchange;
        double shown = 0;  ///< quantity in display units
        double factor = 1;
        double multiplier = 1;  ///< for gold with the grams of a kilogram
        double price = 0;
        double rate = 1;
        bool hasRate = true;
        double averageCost = 0;

        /// In pieces: shares or contracts.
        double quantity() const { return shown * factor; }
        /// What a price is multiplied with.
        double nominal() const { return quantity() * multiplier; }
        double marketValue() const;
        double cost() const;
    };
    /// Amounts added up, with their absolute sum, which rounding is measured by.
    struct Sum {
        double total = 0;
        double absolute = 0;

        void add(double amount);
        bool agreesWith(double running) const;
    };
    struct Account {
        QString name;
        QVector<Row> rows;
        QJsonObject running;  ///< as the functions answer

        Sum marketValue() const;
        Sum cost() const;
    };

    Account accountOf(const QString& name);
    Row rowOf(const QVariantMap& position);
    const Instrument& securityOf(const QString& id, const QString& exchange);
    double rateOf(const QString& exchange, bool* isKnown);
    bool agrees(const Account& account) const;
    static QJsonObject asJson(const Account& account);
    void addAbsent(CommandAnswer& answer) const;

    FacadeQuestions m_facade;
    const Sources m_sources;
    QMap<QString, Instrument> m_securities;  ///< by exchange and id
    bool m_hasRates = false;
    QJsonObject m_rates;  ///< by exchange
};
