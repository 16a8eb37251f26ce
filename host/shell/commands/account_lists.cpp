#include "account_lists.h"

#include <QJsonDocument>
#include <array>

#include "vocabulary/values.h"

namespace {

constexpr int kTrade = 16;
constexpr int kEveryFundProp = 31;

struct FundKind {
    QString type;
    int prop;
    QString text;
};

const std::array<FundKind, 5>& fundKinds() {
    static const std::array<FundKind, 5> kinds{{
        {FundAccountType::Cash, Torvi_InnerFundProp::normalTrade, QStringLiteral("现货")},
        {FundAccountType::Credit, Torvi_InnerFundProp::marginTrade, QStringLiteral("信用")},
        {FundAccountType::Option, Torvi_InnerFundProp::optionTrade, QStringLiteral("期权")},
        {FundAccountType::Future, Torvi_InnerFundProp::futuresTrade, QStringLiteral("期货")},
        {FundAccountType::Metal, Torvi_InnerFundProp::metalTrade, QStringLiteral("贵金属")},
    }};
    return kinds;
}

struct ExchangeName {
    QString code;
    QString name;
};

const std::array<ExchangeName, 9>& exchangeNames() {
    static const std::array<ExchangeName, 9> names{{
        {Exchange::sh, QStringLiteral("Shanghai")},
        {Exchange::sz, QStringLiteral("Shenzhen")},
        {Exchange::bj, QStringLiteral("Beijing")},
        {Exchange::hhk, QStringLiteral("HK by Shanghai")},
        {Exchange::szhk, QStringLiteral("HK by Shenzhen")},
        {Exchange::HkStockCirculation, QStringLiteral("H share circulation")},
        {Exchange::cffex, QStringLiteral("CFFEX")},
        {Exchange::shf, QStringLiteral("SHFE")},
        {Exchange::sge, QStringLiteral("SGE")},
    }};
    return names;
}

QString exchangeText(const QString& code) {
    for (const ExchangeName& one : exchangeNames()) {
        if (one.code == code) {
            return one.name;
        }
    }
    return code;
}

QString asJson(const QStringList& texts) {
    return QString::fromUtf8(
        QJsonDocument(QJsonArray::fromStringList(texts)).toJson(QJsonDocument::Compact));
}

QStringList fundPropArguments(int fundProp, int authority, const QStringList& exchanges) {
    return {QString::number(fundProp), QString::number(authority), QStringLiteral("true"),
            asJson(exchanges), QStringLiteral("true")};
}

}  // namespace

QStringList tradingListArguments(int authority, bool includeDistributed) {
    return {QStringLiteral("true"), QString::number(authority),
            includeDistributed ? QStringLiteral("true") : QStringLiteral("false")};
}

QList<AccountList> accountLists() {
    using Counter = AccountList::Counter;
    const QString trading = QStringLiteral("GetTradingAccountList");
    const QString byProp = QStringLiteral("GetFundAccountListByFundProp");
    QList<AccountList> lists{
        {QStringLiteral("all that are not frozen"), trading, tradingListArguments(0, true)}};
    for (const Authority& one : kAuthorities) {
        lists.append({QStringLiteral("with the right: %1").arg(QLatin1String(one.word)), trading,
                      tradingListArguments(one.bit, true), one.bit});
    }
    lists.append({QStringLiteral("tradable, central counter"), trading,
                  tradingListArguments(kTrade, false), kTrade, Counter::Central});
    lists.append({QStringLiteral("tradable, distributed counter"),
                  QStringLiteral("GetDistributedAccountList"),
                  {},
                  kTrade,
                  Counter::Distributed});
    for (const FundKind& kind : fundKinds()) {
        lists.append(
            {kind.text, byProp, fundPropArguments(kind.prop, 0, {}), 0, Counter::Any, kind.prop});
    }
    for (const ExchangeName& exchange : exchangeNames()) {
        lists.append({QStringLiteral("tradable at %1").arg(exchange.name),
                      byProp,
                      fundPropArguments(kEveryFundProp, kTrade, {exchange.code}),
                      kTrade,
                      Counter::Any,
                      kEveryFundProp,
                      {exchange.code}});
    }
    const int normal = Torvi_InnerFundProp::normalTrade;
    lists.append({QStringLiteral("Hong Kong connect"),
                  QStringLiteral("GetHKAccountInfoList"),
                  {},
                  kTrade,
                  Counter::Central,
                  normal,
                  {Exchange::hhk, Exchange::szhk}});
    lists.append({QStringLiteral("circulating H shares"),
                  QStringLiteral("GetHStockCirculateAccountList"),
                  {},
                  kTrade,
                  Counter::Central,
                  normal,
                  {Exchange::HkStockCirculation}});
    return lists;
}

namespace AccountRecord {

QString text(const QJsonObject& record, const char* field) {
    return record.value(QLatin1String(field)).toString();
}

int number(const QJsonObject& record, const char* field) {
    return record.value(QLatin1String(field)).toInt();
}

QString account(const QJsonObject& record) {
    return text(record, "tradingAccount");
}

bool isNotLoaded(const QJsonObject& record) {
    return account(record).isEmpty();
}

QString name(const QJsonObject& record) {
    return isNotLoaded(record) ? text(record, "asked") : account(record);
}

QString kindText(const QJsonObject& record) {
    QString type = text(record, "fundAccountType");
    for (const FundKind& kind : fundKinds()) {
        if (kind.type == type) {
            return kind.text;
        }
    }
    return type;
}

int fundProp(const QJsonObject& record) {
    const QString type = text(record, "fundAccountType");
    for (const FundKind& kind : fundKinds()) {
        if (kind.type == type) {
            return kind.prop;
        }
    }
    return 0;
}

bool isFrozen(const QJsonObject& record) {
    return text(record, "accountStatus") == AccountStatus::freezing;
}

bool isDistributed(const QJsonObject& record) {
    return number(record, "counterSiteType") != 0;
}

QString counterText(const QJsonObject& record) {
    if (isNotLoaded(record)) {
        return QString();
    }
    return isDistributed(record) ? QStringLiteral("distributed") : QStringLiteral("central");
}

QString stateText(const QJsonObject& record) {
    if (isNotLoaded(record)) {
        return QStringLiteral("not loaded");
    }
    return isFrozen(record) ? QStringLiteral("frozen") : QStringLiteral("normal");
}

}  // namespace AccountRecord

QJsonArray authorityWords(int flags) {
    QJsonArray words;
    for (const Authority& one : kAuthorities) {
        if (flags & one.bit) {
            words.append(QLatin1String(one.word));
        }
    }
    return words;
}

QString exchangeTexts(const QStringList& codes) {
    QStringList texts;
    for (const QString& code : codes) {
        texts.append(exchangeText(code));
    }
    return texts.join(QStringLiteral(", "));
}
