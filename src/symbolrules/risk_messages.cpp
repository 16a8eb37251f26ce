#include "risk_messages.h"

#include "vocabulary/values.h"

namespace {

constexpr int kSymbolsShown = 3;

// Several arguments are filled in by one call of arg(), so that "%1" in a symbol, a module's
// name or a text of the server stays as it is.

QString shown(const QStringList& symbols) {
    return symbols.mid(0, kSymbolsShown).join(QStringLiteral("、"));
}

QString moreThanShown(const QStringList& symbols) {
    return symbols.size() > kSymbolsShown ? QStringLiteral("等") : QString();
}

QString stMessage(const QStringList& symbols, const QString& moduleName, const QString& suffix) {
    static const QString rule = QStringLiteral(
        "根据交易所相关规定，投资者当日通过竞价交易、大宗交易和盘后定"
        "价交易累计买入的单只风险警示股票，当日累计买入数量（含已申报"
        "但未成交、未撤销部分），不得超过50万股，投资者以本人名义开立"
        "的多个普通证券账户与信用证券账户的买入数量将合并计算。违者将"
        "被交易所采取相应监管措施或纪律处分。");
    return QStringLiteral("检测到%1%5尝试交易代码：%2%4为风险警示股，%3")
        .arg(moduleName, shown(symbols), rule, moreThanShown(symbols), suffix);
}

QString reminderMessage(const QPair<QString, QString>& reminder, const QString& moduleName,
                        const QString& suffix) {
    return QStringLiteral("检测到%1%4尝试交易代码：%2，该代码%3")
        .arg(moduleName, reminder.first, reminder.second, suffix);
}

QString breakerMessage(const QStringList& symbols, const QString& moduleName) {
    return QStringLiteral("检测到%1%4尝试破发或破净标的，交易代码：%2%3")
        .arg(moduleName, shown(symbols), moreThanShown(symbols), QStringLiteral("下达"));
}

}  // namespace

bool isInstruction(const QString& moduleName) {
    return moduleName.contains(QStringLiteral("指令"));
}

QStringList riskMessages(const RiskFindings& findings, const QString& moduleName) {
    const QString suffix = isInstruction(moduleName) ? QString() : QStringLiteral("模块");
    QStringList messages;
    if (!findings.stSymbols.isEmpty()) {
        messages.append(stMessage(findings.stSymbols, moduleName, suffix));
    }
    for (const auto& reminder : findings.reminders) {
        messages.append(reminderMessage(reminder, moduleName, suffix));
    }
    if (!findings.breakers.isEmpty()) {
        messages.append(breakerMessage(findings.breakers, moduleName));
    }
    return messages;
}

QString delistReminder(const QDate& lastTradingDay, const QDate& today) {
    return QStringLiteral(
               "即将终止上市，最后交易日预估为%1，剩余交易日预估为%2天，请注"
               "意退市风险，谨慎投资。")
        .arg(lastTradingDay.toString(QStringLiteral("yyyy-MM-dd")),
             QString::number(today.daysTo(lastTradingDay)));
}

QString stTypeText(const QString& stFlag, const QString& firstExchange) {
    if (firstExchange == Exchange::bj) {
        return QStringLiteral(
            "【退市风险警示】该标的股票已被实施退市风险警示，请及时关注标"
            "的公司公告，注意相关风险，审慎理性投资");
    }
    if (stFlag == StFlag::IsST) {
        return QStringLiteral(
            "【其他风险警示、50万股买入限制】该标的股票已被实施其他风险警"
            "示，请及时关注标的公司公告，注意相关风险，审慎理性投资。同时"
            "，根据交易所相关规定，投资者当日通过竞价交易、大宗交易和盘后"
            "定价交易累计买入的单只风险警示股票，当日累计买入数量(含已申"
            "报但未成交、未撤销部分)，不得超过50万股，投资者以本人名义开"
            "立的多个普通证券账户与信用证券账户的买入数量将合并计算，违规"
            "交易将被交易所采取相应监管措施或纪律处分");
    }
    if (stFlag == StFlag::IsStarST) {
        return QStringLiteral(
            "【退市风险警示、50万股买入限制】该标的股票已被实施退市风险警"
            "示，请及时关注标的公司公告，注意相关风险，审慎理性投资。同时"
            "，根据交易所相关规定，投资者当日通过竞价交易、大宗交易和盘后"
            "定价交易累计买入的单只风险警示股票，累计买入数量(含已申报但"
            "未成交、未撤销部分)不得超过50万股，投资者以本人名义开立的多"
            "个普通证券账户与信用证券账户的买入数量将合并计算，违规交易将"
            "被交易所采取相应监管措施或纪律处分");
    }
    return {};
}
