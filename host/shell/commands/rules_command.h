#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "facade_questions.h"
#include "rules_texts.h"

class TextTable;

/// What the client knows beside the exported functions.
struct RulesFacts {
    /// Sections of the static configuration: sub-type, type or "*" to a quantity; of the largest
    /// order also "KEY_FIELD:VALUE,FIELD:VALUE".
    QMap<QString, QString> stepRules;
    QMap<QString, QString> minRules;
    QMap<QString, QString> maxRules;
    bool isHongKong = false;  ///< by the platform's test of the symbol
    QVariantMap security;     ///< the business data's own record; empty for what it does not know
    QVariantMap tick;         ///< the last of the feed; empty without one
    int cageWaitSeconds = 0;  ///< how long the cage was waited for; told when it did not load
};

struct RulesAnswer {
    bool interrupted = false;
    QString error;      ///< for the user, when the symbol is not known
    QStringList lines;  ///< for a terminal
};

/// Tells what rules hold for a security and where each is from. The values are what the exported
/// functions answer; the sources are worked out from the same configuration, and where the two
/// disagree the answer says so. The functions are called by name, and one that the library lacks is
/// named.
class RulesCommand {
public:
    RulesCommand(const FacadeLibrary& library, const FacadeAsk& ask, TextLanguage language);

    /// What is wider than `columns` is cut.
    RulesAnswer explain(const QString& symbol, const RulesFacts& facts, int columns);

private:
    struct Subject;

    QString number(const QString& function, const QStringList& arguments);
    QString say(const RulesText& text) const { return text.in(m_language); }

    Subject subjectOf(const QString& symbol);
    QVariantMap tickOf(const Subject& security, const RulesFacts& facts) const;
    void addQuantities(const Subject& security, const RulesFacts& facts, TextTable& table);
    void addLargest(const Subject& security, const RulesFacts& facts, TextTable& table);
    void addPrices(const Subject& security, const QVariantMap& tick, TextTable& table);
    void addCage(const Subject& security, const QVariantMap& tick, TextTable& table);
    void addFigures(const QJsonObject& cage, TextTable& table) const;
    void addLimit(const QVariantMap& tick, bool isSell, TextTable& table);
    void addDayLimits(const QVariantMap& tick, TextTable& table) const;
    QString classOf(const Subject& security);
    QString told(const QString& answered, const QString& expected, const QString& source) const;
    QString ruleSource(const Subject& security, const QMap<QString, QString>& rules,
                       const QString& section, QString* expected) const;

    FacadeQuestions m_facade;
    const TextLanguage m_language;
};
