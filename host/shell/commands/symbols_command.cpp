#include "symbols_command.h"

#include <algorithm>
#include <vector>

#include "text_table.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kMostRows = 50;

struct Match {
    int rank = 0;
    QString symbol;

    bool operator<(const Match& other) const {
        return rank != other.rank ? rank < other.rank : symbol < other.symbol;
    }
};

/// 0 for the code itself, more the less the text says; negative when the security does not match.
int rankOf(const QString& symbol, const QString& name, const QString& text) {
    const QString code = symbol.section(QLatin1Char('.'), 0, 0);
    if (symbol.compare(text, Qt::CaseInsensitive) == 0 ||
        code.compare(text, Qt::CaseInsensitive) == 0) {
        return 0;
    }
    if (symbol.startsWith(text, Qt::CaseInsensitive)) {
        return 1;
    }
    const bool contains =
        symbol.contains(text, Qt::CaseInsensitive) || name.contains(text, Qt::CaseInsensitive);
    return contains ? 2 : -1;
}

QString typeText(const QString& type) {
    static const QHash<QString, QString> texts{
        {MdcSecurityType::StockType, QStringLiteral("share")},
        {MdcSecurityType::BondType, QStringLiteral("bond")},
        {MdcSecurityType::FuturesType, QStringLiteral("future")},
        {MdcSecurityType::OptionType, QStringLiteral("option")},
        {MdcSecurityType::FundType, QStringLiteral("fund")},
        {MdcSecurityType::SpotType, QStringLiteral("gold")},
    };
    return texts.value(type, type);
}

QString exchangeTexts(const QVariantMap& record, const QString& symbol) {
    QStringList texts;
    const QString suffix = symbol.section(QLatin1Char('.'), -1);
    const QStringList exchanges = record.value(UserAccount::securityExchange)
                                      .toString()
                                      .split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& exchange : exchanges) {
        texts.append(VelmarBusiUtils::GetExchangeName(exchange, suffix));
    }
    return texts.join(QStringLiteral(", "));
}

}  // namespace

CommandAnswer findSymbols(const QHash<QString, QVariantMap>& records, const QString& text,
                          int columns) {
    std::vector<Match> matches;
    for (auto it = records.constBegin(); it != records.constEnd(); ++it) {
        const int rank = rankOf(it.key(), it->value(Security::chineseName).toString(), text);
        if (rank >= 0) {
            matches.push_back({rank, it.key()});
        }
    }
    CommandAnswer answer;
    if (matches.empty()) {
        answer.error = QStringLiteral("no security has '%1' in its code or name").arg(text);
        return answer;
    }
    std::sort(matches.begin(), matches.end());
    TextTable table({QStringLiteral("Symbol"), QStringLiteral("Name"), QStringLiteral("Exchange"),
                     QStringLiteral("Type"), QStringLiteral("Sub-type")});
    const int all = static_cast<int>(matches.size());
    const int shown = std::min(all, kMostRows);
    for (int i = 0; i < shown; ++i) {
        const QString& symbol = matches[static_cast<std::size_t>(i)].symbol;
        const QVariantMap record = records.value(symbol);
        table.addRow({symbol, record.value(Security::chineseName).toString(),
                      exchangeTexts(record, symbol),
                      typeText(record.value(MDCFieldDefine::mdcSecurityType).toString()),
                      record.value(MDCFieldDefine::mdcSubSecurityType).toString()});
    }
    answer.lines = table.lines(columns);
    if (all > shown) {
        answer.lines.append(QStringLiteral("... %1 more").arg(all - shown));
    }
    return answer;
}
