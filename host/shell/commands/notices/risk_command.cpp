#include "risk_command.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

QString stFlagText(const QString& flag) {
    const QString name = flag == StFlag::Normal     ? QStringLiteral("normal")
                         : flag == StFlag::IsST     ? QStringLiteral("ST")
                         : flag == StFlag::IsStarST ? QStringLiteral("*ST")
                                                    : QStringLiteral("unknown");
    return QStringLiteral("%1 (%2)").arg(flag, name);
}

QString growthText(int flag) {
    return flag == 2   ? QStringLiteral("2 (growth tier)")
           : flag == 1 ? QStringLiteral("1 (listed before the growth tier)")
                       : QStringLiteral("%1 (none)").arg(flag);
}

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

/// The text that a function wrote into its second parameter; answers count parameters from 1.
QString outText(const QJsonObject& answer) {
    for (const auto& one : answer.value(QLatin1String("out")).toArray()) {
        const QJsonObject out = one.toObject();
        if (out.value(QLatin1String("parameter")).toInt() == 2) {
            return out.value(QLatin1String("value")).toString();
        }
    }
    return {};
}

}  // namespace

RiskCommand::RiskCommand(const FacadeLibrary& library, const FacadeAsk& ask)
    : m_facade(library, ask) {}

QList<QVariantMap> RiskCommand::rowsOf(const QString& symbol, const QString& id,
                                       const QList<QVariantMap>& rows) {
    QList<QVariantMap> found;
    for (const QVariantMap& row : rows) {
        // Other exchanges use the same id for other securities.
        const bool isById = row.value(Security::securityID).toString() == id &&
                            m_facade.ask(QStringLiteral("GetSymbolBySecurityIDAndExchange"),
                                         {id, row.value(UserAccount::securityExchange).toString()})
                                    .toString() == symbol;
        if (isById || row.value(Security::symbol).toString() == symbol) {
            found.append(row);
        }
    }
    return found;
}

CommandAnswer RiskCommand::show(const QString& symbol, const ServerLists& server) {
    CommandAnswer answer;
    const QJsonObject details =
        m_facade.ask(QStringLiteral("GetSecurityDetailsBySymbol"), {symbol}).toObject();
    answer.interrupted = m_facade.interrupted();
    if (answer.interrupted) {
        return answer;
    }
    if (details.isEmpty()) {
        answer.error = QStringLiteral("no security is called '%1'").arg(symbol);
        return answer;
    }
    const auto asks = [&](const char* function) {
        return m_facade.ask(QLatin1String(function), {symbol});
    };
    const QJsonObject st = m_facade.call(QStringLiteral("GetSymbolStType"), {symbol});
    const QString flag = st.value(QLatin1String("result")).toString();
    const QString warning = outText(st);
    const bool isSt = asks("IsSymbolInST").toBool();
    const int growth = asks("GetScienTechGrowFlagBySymbol").toInt();
    const bool isBelowIssue = asks("IsSymbolBreakingIssuePrice").toBool();
    const bool isBelowNet = asks("IsSymbolBrokenNetPrice").toBool();
    // Nothing else loads the list.
    m_facade.ask(QStringLiteral("InitKeyMonitorSymbols"), {});
    const bool isMonitored = asks("IsSymbolKeyMonitor").toBool();
    const QString id = details.value(Security::securityID).toVariant().toString();
    const QVariantMap notice = rowsOf(symbol, id, server.notices.rows).value(0);
    const QString noticeError = server.notices.error;
    const bool monitoredAtServer = !rowsOf(symbol, id, server.monitored.rows).isEmpty();
    QSet<int> types;
    for (const QVariantMap& row : rowsOf(symbol, id, server.types.rows)) {
        types.insert(row.value(SymbolRiskType::riskFlagType).toInt());
    }
    answer.interrupted = m_facade.interrupted();
    if (answer.interrupted) {
        return answer;
    }
    const auto line = [&answer](const QString& what, const QString& value) {
        answer.lines.append(harmlessText(what.leftJustified(24) + value));
    };
    answer.lines.append(harmlessText(QStringLiteral("%1  %2").arg(
        symbol, details.value(Security::chineseName).toVariant().toString())));
    line(QStringLiteral("risk warning flag"), stFlagText(flag));
    line(QStringLiteral("in risk warning"), yesNo(isSt));
    if (!warning.isEmpty()) {
        line(QStringLiteral("warning for the user"), warning);
    }
    line(QStringLiteral("growth flag"), growthText(growth));
    const auto mark = [&](const char* name, bool is, bool isAtServer, const QString& error) {
        QString text = yesNo(is);
        if (!error.isEmpty()) {
            text = QStringLiteral("not received: %1").arg(error);
        } else if (is != isAtServer) {
            text += QStringLiteral(" (list of the server: %1)").arg(yesNo(isAtServer));
        }
        answer.isFault = answer.isFault || !error.isEmpty() || is != isAtServer;
        line(QLatin1String(name), text);
    };
    mark("below issue price", isBelowIssue, types.contains(SymbolRiskType::BreakingIssuePrice),
         server.types.error);
    mark("below net value", isBelowNet, types.contains(SymbolRiskType::BrokenNetPrice),
         server.types.error);
    mark("key monitor", isMonitored, monitoredAtServer, server.monitored.error);
    if (!noticeError.isEmpty()) {
        line(QStringLiteral("notice of the server"),
             QStringLiteral("not received: %1").arg(noticeError));
        answer.isFault = true;
    } else if (notice.isEmpty()) {
        line(QStringLiteral("notice of the server"), QStringLiteral("none"));
    } else {
        line(QStringLiteral("notice of the server"), QString());
        for (auto it = notice.constBegin(); it != notice.constEnd(); ++it) {
            line(QStringLiteral("  ") + it.key(), it.value().toString());
        }
        if (notice.value(Security::STFlag).toBool() != isSt) {
            line(QStringLiteral("note"),
                 QStringLiteral("the notice and the security's record differ about the risk "
                                "warning"));
        }
    }
    answer.json = QJsonObject{
        {QStringLiteral("symbol"), symbol},
        {QStringLiteral("stFlag"), flag},
        {QStringLiteral("text"), warning},
        {QStringLiteral("inSt"), isSt},
        {QStringLiteral("growthFlag"), growth},
        {QStringLiteral("breakingIssuePrice"), isBelowIssue},
        {QStringLiteral("brokenNetPrice"), isBelowNet},
        {QStringLiteral("keyMonitor"), isMonitored},
        {QStringLiteral("notice"), notice.isEmpty()
                                       ? QJsonValue(QJsonValue::Null)
                                       : QJsonValue(QJsonObject::fromVariantMap(notice))},
        {QStringLiteral("noticeError"), noticeError},
        {QStringLiteral("riskTypeError"), server.types.error},
        {QStringLiteral("keyMonitorError"), server.monitored.error},
    };
    return answer;
}
