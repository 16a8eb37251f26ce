#include "dealer_securities.h"

#include <QJsonDocument>
#include <QSqlQuery>
#include <algorithm>
#include <cmath>
#include <utility>

#include "instrument.h"
#include "quantity_sections.h"
#include "quote_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kSampleSize = 100;
/// As the client's own rules have them where the tables say nothing.
constexpr qint64 kStandardStep = 100;
constexpr qint64 kStandardMost = 1000000;
constexpr qint64 kMostLotsOfHongKong = 3000;
/// Above it a price or a quantity is a fault of the database, and its products would not fit.
constexpr double kMostFigure = 1e8;

using SecurityPtr = std::shared_ptr<const DealtSecurity>;

/// The kind of account that deals a type; margin accounts deal what cash accounts deal.
QString accountKindOf(const QString& securityType) {
    static const QHash<QString, QString> kinds{
        {MdcSecurityType::StockType, FundAccountType::Cash},
        {MdcSecurityType::FundType, FundAccountType::Cash},
        {MdcSecurityType::BondType, FundAccountType::Cash},
        {MdcSecurityType::FuturesType, FundAccountType::Future},
        {MdcSecurityType::OptionType, FundAccountType::Option},
        {MdcSecurityType::SpotType, FundAccountType::Metal}};
    return kinds.value(securityType);
}

QString sampleKey(const QString& exchange, const QString& accountKind) {
    return exchange + QLatin1Char('|') + accountKind;
}

bool isHongKong(const QString& exchange) {
    return exchange == Exchange::hhk || exchange == Exchange::szhk;
}

/// 0 for what is not a usable price.
qint64 unitsOf(const QVariant& price) {
    const double value = price.toDouble();
    return value > 0 && value < kMostFigure ? qRound64(value * DealtSecurity::kPriceUnits) : 0;
}

QVariantMap recordFrom(const QVariant& text) {
    return QJsonDocument::fromJson(text.toByteArray()).toVariant().toMap();
}

}  // namespace

qint64 DealtSecurity::tickAt(qint64 price) const {
    const qint64 own = ladder ? qRound64(ladder->spreadAt(currency(price)) * kPriceUnits) : tick;
    return std::max<qint64>(1, own);
}

qint64 DealtSecurity::priceFrom(qint64 price, int ticks) const {
    const auto down = [this](qint64 units) { return units - units % tickAt(units); };
    const qint64 lowest = std::max<qint64>(1, lowerLimit);
    qint64 moved = down(std::max<qint64>(0, price + ticks * tickAt(price)));
    if (upperLimit > 0) {
        moved = std::min(moved, down(upperLimit));
    }
    // The lowest legal price is the first of the grid that is not below the limit.
    const qint64 floor = down(lowest + tickAt(lowest) - 1);
    return std::max(moved, floor);
}

double DealtSecurity::amountOf(qint64 quantity, qint64 price) const {
    const double amount = static_cast<double>(quantity) * currency(price) * unit;
    return std::round(amount * 100) / 100;
}

bool DealtSecurity::buyable(qint64 quantity) const {
    return quantity >= least && quantity <= most && quantity % step == 0;
}

bool DealtSecurity::sellable(qint64 quantity, qint64 sellable) const {
    if (quantity <= 0 || quantity > sellable || quantity > most) {
        return false;
    }
    return buyable(quantity) || (oddLots && quantity == sellable);
}

bool DealerSecurities::deals(const QString& fundAccountType, const QString& securityType) {
    const QString kind = accountKindOf(securityType);
    return !kind.isEmpty() &&
           kind == (fundAccountType == FundAccountType::Credit ? FundAccountType::Cash
                                                               : fundAccountType);
}

DealerSecurities::DealerSecurities(std::shared_ptr<const MarketStore> store)
    : m_store(std::move(store)) {}

std::unique_ptr<DealerSecurities> DealerSecurities::open(const QString& staticDatabaseFile,
                                                         quint32 seed, QString* error,
                                                         const std::atomic<bool>* ending) {
    auto store = MarketStore::open(staticDatabaseFile, error);
    if (!store) {
        return nullptr;
    }
    auto shares = std::make_shared<PriceLadder>();
    auto funds = std::make_shared<PriceLadder>();
    if (!shares->load(QStringLiteral("share"), error) ||
        !funds->load(QStringLiteral("fund"), error)) {
        return nullptr;
    }
    std::unique_ptr<DealerSecurities> all(new DealerSecurities(std::move(store)));
    all->m_shareLadder = std::move(shares);
    all->m_fundLadder = std::move(funds);
    if (!all->readRules(error) || !all->drawSamples(seed, ending, error)) {
        return nullptr;
    }
    return all;
}

bool DealerSecurities::readRules(QString* error) {
    const QStringList sections{QuantitySection::step, QuantitySection::min, QuantitySection::max};
    return std::all_of(sections.cbegin(), sections.cend(), [&](const QString& section) {
        QMap<QString, qint64>& rules = m_rules[section];
        return m_store->select(
            QStringLiteral("SELECT key, value FROM static_cfg WHERE section = ?"), {section},
            [&rules](const QSqlQuery& query) {
                rules.insert(query.value(0).toString(), query.value(1).toLongLong());
            },
            error);
    });
}

bool DealerSecurities::drawSamples(quint32 seed, const std::atomic<bool>* ending, QString* error) {
    MarketRandom random(seed);
    QHash<QString, int> seen;
    return m_store->select(
        QStringLiteral("SELECT record FROM reference WHERE kind = 'security' ORDER BY symbol"), {},
        [&](const QSqlQuery& query) {
            if (ending && *ending) {
                return;
            }
            const SecurityPtr security = securityOf(recordFrom(query.value(0)));
            if (!security) {
                return;
            }
            const QString key = sampleKey(security->exchange, accountKindOf(security->type));
            Sample& sample = m_samples[key];
            // Each security of a group has the same chance of being in its sample.
            const int before = seen[key]++;
            if (sample.size() < kSampleSize) {
                sample.append(security);
            } else if (const int place = random.below(before + 1); place < kSampleSize) {
                sample[place] = security;
            }
        },
        error);
}

SecurityPtr DealerSecurities::find(const QString& symbol) {
    const auto known = m_known.constFind(symbol);
    if (known != m_known.cend()) {
        return *known;
    }
    SecurityPtr security;
    m_store->select(
        QStringLiteral("SELECT record FROM reference WHERE kind = 'security' AND symbol = ?"),
        {symbol},
        [&](const QSqlQuery& query) { security = securityOf(recordFrom(query.value(0))); });
    m_known.insert(symbol, security);
    return security;
}

DealerSecurities::Sample DealerSecurities::sample(const QString& exchange,
                                                  const QString& fundAccountType) const {
    return m_samples.value(sampleKey(exchange, fundAccountType == FundAccountType::Credit
                                                   ? FundAccountType::Cash
                                                   : fundAccountType));
}

SecurityPtr DealerSecurities::securityOf(const QVariantMap& record) const {
    DealtSecurity security;
    security.symbol = record.value(Security::symbol).toString();
    security.securityID = record.value(Security::securityID).toString();
    security.exchange =
        record.value(UserAccount::securityExchange).toString().section(QLatin1Char(','), 0, 0);
    security.type = record.value(MDCFieldDefine::mdcSecurityType).toString();
    security.previousClose = unitsOf(record.value(QuoteField::previousClose));
    const QString subType = record.value(MDCFieldDefine::mdcSubSecurityType).toString();
    if (security.symbol.isEmpty() || security.previousClose == 0 ||
        accountKindOf(security.type).isEmpty() || record.value(System::deleteFlag).toBool() ||
        subType == MdcSubSecurityType::Asharenewsharesbid ||
        MdcSubSecurityType::BondRepurchaseTypeList.contains(subType)) {
        return nullptr;
    }
    if (const qint64 tick = unitsOf(record.value(QuoteField::priceTick)); tick > 0) {
        security.tick = tick;
    }
    security.upperLimit = unitsOf(record.value(QuoteField::maxPrice));
    security.lowerLimit = unitsOf(record.value(QuoteField::minPrice));
    if (isHongKong(security.exchange)) {
        security.ladder = security.type == MdcSecurityType::FundType ? m_fundLadder : m_shareLadder;
        security.rate = Instrument::rateOf(security.exchange);
        security.oddLots = false;
    }
    security.unit = unitOf(record, security);
    addQuantities(record, &security);
    const bool isUsable = security.rate > 0 && security.step > 0 && security.least > 0 &&
                          security.most >= security.least;
    return isUsable ? std::make_shared<const DealtSecurity>(security) : nullptr;
}

double DealerSecurities::unitOf(const QVariantMap& record, const DealtSecurity& security) const {
    const double multiplier = record.value(Security::contractMultiplier).toDouble();
    double unit = multiplier > 0 ? multiplier : 1;
    if (security.type == MdcSecurityType::SpotType) {
        double grams = 0;
        m_store->select(
            QStringLiteral("SELECT record FROM reference WHERE kind = 'gold' AND symbol = ?"),
            {security.symbol}, [&grams](const QSqlQuery& query) {
                grams = recordFrom(query.value(0)).value(GoldTrade::TradeUnitQty).toDouble();
            });
        unit = Instrument::goldUnit(grams, unit);
    } else if (accountKindOf(security.type) == FundAccountType::Cash) {
        unit = 1;
    }
    return unit < kMostFigure ? unit : 1;
}

void DealerSecurities::addQuantities(const QVariantMap& record, DealtSecurity* security) const {
    const auto lot = static_cast<qint64>(
        std::clamp(record.value(Security::LotSize).toDouble(), 0.0, kMostFigure));
    security->step = lot > 0 ? lot : ruleOf(QuantitySection::step, record, kStandardStep);
    if (security->ladder) {
        security->least = security->step;
        security->most = security->step * kMostLotsOfHongKong;
        return;
    }
    const qint64 least = ruleOf(QuantitySection::min, record, kStandardStep);
    security->most = ruleOf(QuantitySection::max, record, kStandardMost);
    if (security->step > 0) {
        security->least = (least + security->step - 1) / security->step * security->step;
    }
}

qint64 DealerSecurities::ruleOf(const QString& section, const QVariantMap& record,
                                qint64 standard) const {
    const auto rules = m_rules.constFind(section);
    for (const QString& key :
         {record.value(MDCFieldDefine::mdcSubSecurityType).toString(),
          record.value(MDCFieldDefine::mdcSecurityType).toString(), QStringLiteral("*")}) {
        if (rules != m_rules.cend() && rules->contains(key)) {
            return rules->value(key);
        }
    }
    return standard;
}
