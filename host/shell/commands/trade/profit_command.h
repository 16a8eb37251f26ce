#pragma once

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QVariantMap>
#include <QVector>
#include <functional>

#include "command_answer.h"
#include "facade_questions.h"

struct FigureDifference;

/// The deals of one symbol through one security account, added up.
struct DealSum {
    double buyAmount = 0;
    double buyQty = 0;
    double sellAmount = 0;
    double sellQty = 0;
    double commission = 0;
    QList<QVariantMap> deals;

    void add(const QVariantMap& deal);
    /// Nothing was dealt: the rows only report cancels.
    bool isNothing() const;
    /// The quantity that was both bought and sold.
    double matched() const;
    /// Average sell less average buy price, times the matched quantity, less the commissions.
    double profit() const;
};

/// Shows the realized profit that the exported functions answer, with the deals of the
/// neighbouring data plug-in that make it up. For one thread.
class ProfitCommand {
public:
    /// The deals of the day of an account.
    using DealsOf = std::function<QList<QVariantMap>(const QString& account)>;

    ProfitCommand(const FacadeLibrary& library, const FacadeAsk& ask, const DealsOf& dealsOf);

    /// The accounts whose deals count: normal and margin ones that the login may trade.
    QStringList accounts();
    /// Accounts without deals are only counted. Lines are cut to `columns`.
    CommandAnswer show(const QStringList& accounts, int columns);
    /// Compares the running table with all deals, over these accounts and those that the table has;
    /// a difference is a fault. The running table may lack an item whose rows only report cancels.
    CommandAnswer check(const QStringList& accounts, int columns);

private:
    struct Item {
        QString symbol;
        QString securityAccount;
        double profit = 0;  ///< as the functions answer
        bool isKnown = false;
        DealSum sum;
    };
    using Items = QVector<Item>;

    Items itemsOf(const QString& account);
    static QJsonObject asJson(const Item& item);
    void addAbsent(CommandAnswer& answer) const;

    FacadeQuestions m_facade;
    const DealsOf m_dealsOf;
};

/// Turns differences into the answer of a check; `compared` is the number of figures.
CommandAnswer checkAnswer(const QVector<FigureDifference>& differences, int compared, int columns);
