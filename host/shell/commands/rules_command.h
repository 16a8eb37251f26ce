#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "command_answer.h"
#include "facade_questions.h"
#include "rules_cross_check.h"
#include "text_language.h"

class TextTable;

/// What RulesCommand needs in addition to the exported functions.
struct RulesFacts {
    /// The platform's part: configuration and record of a symbol.
    static RulesFacts ofPlatform(const QString& symbol);

    // Sections of the static configuration.
    RulesCrossCheck::Rules stepRules;
    RulesCrossCheck::Rules minRules;
    RulesCrossCheck::Rules maxRules;
    bool isHongKong = false;  ///< by the platform's test of the symbol
    QVariantMap security;     ///< the platform's own record; empty for an unknown symbol
    QVariantMap tick;         ///< the last of the feed; empty without one
    int cageWaitSeconds = 0;  ///< how long the cage was waited for
};

/// Shows the rules that apply to a security, each with its source. The values are the answers of
/// the exported functions. Their sources follow from a cross-check (rules_cross_check.h); where it
/// disagrees with an answer, the line says so instead. Functions are called by name, and those that
/// the library lacks are listed.
class RulesCommand {
public:
    RulesCommand(const FacadeLibrary& library, const FacadeAsk& ask, TextLanguage language);

    /// Lines wider than `columns` are cut.
    CommandAnswer explain(const QString& symbol, const RulesFacts& facts, int columns);

private:
    struct Subject;

    QString number(const QString& function, const QStringList& arguments);
    QString say(const LocalText& text) const { return text.in(m_language); }

    Subject subjectOf(const QString& symbol);
    QStringList similarSymbols(const QString& symbol);
    QVariantMap tickOf(const Subject& security, const RulesFacts& facts) const;
    void addQuantities(const Subject& security, const RulesFacts& facts, TextTable& table);
    void addLargest(const Subject& security, const RulesFacts& facts, TextTable& table);
    void addPrices(const Subject& security, const QVariantMap& tick, TextTable& table);
    void addCage(const Subject& security, const QVariantMap& tick, TextTable& table);
    void addFigures(const QJsonObject& cage, TextTable& table) const;
    double addCageUnit(const Subject& security, const QVariantMap& tick, TextTable& table);
    void addLimit(const QJsonObject& cage, const QVariantMap& tick, double unit, bool isSell,
                  TextTable& table);
    void addDayLimits(const QVariantMap& tick, TextTable& table) const;
    QString classOf(const Subject& security, const QJsonObject& cage);
    /// The source where answer and cross-check agree.
    QString checked(const QString& answered, const QString& expected, const QString& source) const;
    QString ruleSource(const Subject& security, const RulesCrossCheck::Rules& rules,
                       const QString& section, const QString& standard, QString* expected) const;

    FacadeQuestions m_facade;
    const TextLanguage m_language;
};
