#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QVector>

#include "command_answer.h"
#include "facade_questions.h"
#include "record_file.h"

/// Builds the messages of orders and cancels with the exported functions and shows what they
/// derived, why, and which rules a record passes. Values are the functions' answers; a reason is
/// given where a cross-check of it agrees. For one thread.
class OrdersCheck {
public:
    OrdersCheck(const FacadeLibrary& library, const FacadeAsk& ask,
                const QMap<QString, QVariantMap>& ticks);

    /// Whether a record cancels an order: it has an order id, or the entrust type of a cancel.
    static bool isCancel(const QVariantMap& record);

    /// Checks every record; with `allCancel` each one cancels. Orders share one message, a cancel
    /// has its own. The answer is a fault when a line is bad or a rule fails. Lines are cut to
    /// `columns`.
    CommandAnswer check(const RecordFile& file, bool allCancel, int columns);

private:
    /// A field that the functions added or changed, and why.
    struct Derived {
        QString field;
        QString value;
        QString from;
    };
    enum class Result { Pass, Fail, Open };
    struct Rule {
        QString name;
        Result result = Result::Open;
        QString detail;
    };
    struct Checked {
        const FileRecord* record = nullptr;
        bool isCancel = false;
        QJsonObject message;  ///< of a cancel
        QJsonObject row;
        QVector<Derived> derived;
        QVector<Rule> rules;
    };

    QJsonValue ask(const QString& function, const QStringList& arguments);
    double number(const QString& function, const QStringList& arguments);
    QJsonArray buildOrders(const QVector<Checked>& checked);
    void deriveOrder(Checked& one);
    void deriveAccount(Checked& one);
    void deriveStation(Checked& one);
    void buildCancel(Checked& one);
    void addOrderRules(Checked& one);
    void addQuantityRules(Checked& one);
    void addPriceRules(Checked& one);
    void addCageRule(Checked& one, double price, double unit);
    void addAccountRules(Checked& one);
    static void add(Checked& one, const QString& field, const QString& expected,
                    const QString& from);
    static QString resultText(Result result);
    static QStringList description(const Checked& one);
    static QJsonObject asJson(const Checked& one);
    void addTo(CommandAnswer& answer, const QVector<Checked>& checked, int columns) const;

    FacadeQuestions m_facade;
    const QMap<QString, QVariantMap> m_ticks;  ///< by symbol
    QHash<QString, QJsonValue> m_answers;      ///< by function and arguments
    QJsonObject m_orderMessage;
};
