#include "quantity_rule_check.h"

#include <limits>

#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

// The quantity where no rule applies, and the smallest lot that counts as one.
constexpr int kDefaultQty = 100;
constexpr double kLeastLot = 1e-10;

bool isOfHongKong(const QString& symbol, const QVariantMap& security) {
    if (symbol.contains(QLatin1Char('.'))) {
        return symbol.endsWith(QLatin1Char('.') + SymbolPost::hk);
    }
    const QStringList exchanges =
        security.value(UserAccount::securityExchange).toString().split(QLatin1Char(','));
    return exchanges.contains(Exchange::hhk) || exchanges.contains(Exchange::szhk) ||
           exchanges.contains(Exchange::hk);
}

/// The rule of the sub-type, else of the type, else of "*".
int ruleOf(const QMap<QString, QString>& rules, const QVariantMap& security) {
    for (const QString& key :
         {security.value(MDCFieldDefine::mdcSubSecurityType).toString(),
          security.value(MDCFieldDefine::mdcSecurityType).toString(), QStringLiteral("*")}) {
        const auto rule = rules.constFind(key);
        if (rule != rules.cend()) {
            return rule->toInt();
        }
    }
    return kDefaultQty;
}

int stepOf(const QMap<QString, QString>& steps, const QVariantMap& security) {
    const double lot = security.value(Security::LotSize).toDouble();
    // A lot that an int cannot hold counts as the largest int.
    return lot > kLeastLot ? static_cast<int>(qMin<double>(lot, std::numeric_limits<int>::max()))
                           : ruleOf(steps, security);
}

}  // namespace

QStringList minimumsOffTheirStep(const QHash<QString, QVariantMap>& securities,
                                 const QMap<QString, QString>& steps,
                                 const QMap<QString, QString>& minimums) {
    QStringList sentences;
    for (auto security = securities.cbegin(); security != securities.cend(); ++security) {
        const int step = stepOf(steps, *security);
        const int minimum = ruleOf(minimums, *security);
        const bool isOnStep = step > 0 && minimum % step == 0;
        if (!isOnStep && !isOfHongKong(security.key(), *security)) {
            sentences.append(
                QStringLiteral("%1 has a minimum quantity of %2, which is not a multiple of its "
                               "quantity step %3")
                    .arg(security.key())
                    .arg(minimum)
                    .arg(step));
        }
    }
    sentences.sort();
    return sentences;
}
