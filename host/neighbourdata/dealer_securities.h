#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <QVector>
#include <atomic>
#include <memory>

#include "market_random.h"
#include "market_store.h"
#include "price_ladder.h"

/// A security with the rules for an order on it. Prices are whole numbers of ten-thousandths of the
/// security's currency, quantities are in pieces. Immutable; any thread.
struct DealtSecurity {
    static constexpr double kPriceUnits = 10000;

    QString symbol;
    QString securityID;
    QString exchange;
    QString type;  ///< a MdcSecurityType
    qint64 previousClose = 0;
    qint64 tick = 100;
    qint64 upperLimit = 0;  ///< 0: no limit
    qint64 lowerLimit = 0;  ///< 0: no limit
    /// Where the tick depends on the price; null elsewhere.
    std::shared_ptr<const PriceLadder> ladder;
    qint64 step = 100;  ///< of an order's quantity
    qint64 least = 100;
    qint64 most = 1000000;
    /// A rest below the least quantity, or beside the steps, may be sold at once.
    bool oddLots = true;
    /// What a price applies to in one piece: the multiplier of a contract, the grams of a lot of
    /// gold, otherwise 1.
    double unit = 1;
    double rate = 1;  ///< yuan for one of the security's currency

    qint64 tickAt(qint64 price) const;
    /// The price that many ticks away, moved onto the grid and into the day's limits; at least one
    /// tick.
    qint64 priceFrom(qint64 price, int ticks) const;
    /// What a quantity costs in the security's currency, to the fen, without commission.
    double amountOf(qint64 quantity, qint64 price) const;
    /// A price in the security's currency.
    static double currency(qint64 price) { return static_cast<double>(price) / kPriceUnits; }
    /// Whether an order may have this quantity; a seller's `sellable` decides about odd lots.
    bool buyable(qint64 quantity) const;
    bool sellable(qint64 quantity, qint64 sellable) const;
};

/// The securities of a static database that can be dealt, by symbol, and a sample of each exchange
/// to choose from. Not for two threads at once.
class DealerSecurities {
public:
    /// Null with a text when the database cannot be read. Equal database and seed give an equal
    /// sample. It reads every security once; the rest is skipped, and the sample incomplete, once
    /// `ending` has become true.
    static std::unique_ptr<DealerSecurities> open(const QString& staticDatabaseFile, quint32 seed,
                                                  QString* error,
                                                  const std::atomic<bool>* ending = nullptr);

    /// Null for a symbol that the database does not have or that cannot be dealt: repos, new
    /// issues, deleted securities, and those without a previous close.
    std::shared_ptr<const DealtSecurity> find(const QString& symbol);
    /// Securities of an exchange that a kind of account may deal; both may be unknown.
    using Sample = QVector<std::shared_ptr<const DealtSecurity>>;
    Sample sample(const QString& exchange, const QString& fundAccountType) const;
    bool isEmpty() const { return m_samples.isEmpty(); }

    /// Whether accounts of this kind deal this type of security.
    static bool deals(const QString& fundAccountType, const QString& securityType);

private:
    explicit DealerSecurities(std::shared_ptr<const MarketStore> store);
    bool readRules(QString* error);
    bool drawSamples(quint32 seed, const std::atomic<bool>* ending, QString* error);
    std::shared_ptr<const DealtSecurity> securityOf(const QVariantMap& record) const;
    double unitOf(const QVariantMap& record, const DealtSecurity& security) const;
    void addQuantities(const QVariantMap& record, DealtSecurity* security) const;
    qint64 ruleOf(const QString& section, const QVariantMap& record, qint64 standard) const;

    const std::shared_ptr<const MarketStore> m_store;
    std::shared_ptr<const PriceLadder> m_shareLadder;
    std::shared_ptr<const PriceLadder> m_fundLadder;
    QHash<QString, QMap<QString, qint64>> m_rules;  // by section and key
    QHash<QString, std::shared_ptr<const DealtSecurity>> m_known;
    QMap<QString, Sample> m_samples;  // by exchange and kind of account
};
