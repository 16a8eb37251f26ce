#pragma once

#include <QString>
#include <QVariantMap>
#include <memory>

#include "instrument.h"

/// Records as the book takes them: with their instrument found and their numbers checked.
/// Quantities are in pieces, prices and amounts in the security's currency.

struct DayDeal {
    std::shared_ptr<const Instrument> instrument;
    QString tradingAccount;
    QString securityAccount;
    QString execID;
    QString orderID;
    bool isBuy = false;
    bool isCancel = false;  ///< reports that the rest of the order was cancelled
    qint64 quantity = 0;
    double price = 0;
    double amount = 0;
    double commission = 0;
    QVariantMap record;  ///< as put; fields without a value in it are added when it is stored
};

struct DayPosition {
    std::shared_ptr<const Instrument> instrument;
    QString tradingAccount;
    QString securityAccount;
    qint64 quantity = 0;
    double averageCost = 0;
};

struct DayOrder {
    QString tradingAccount;
    QString symbol;
    QString exchange;
    QString side;
    QString orderID;
    qint64 quantity = 0;
    qint64 filled = 0;
    qint64 cancelled = 0;
    double averagePrice = 0;
    QString status;
    QVariantMap record;  ///< as put

    qint64 left() const { return quantity - filled - cancelled; }
    /// The status has no successor.
    bool isFinal() const;
    /// Whether a deal of that direction can be one of this order; true for sides that do not say.
    bool allows(bool isBuy) const;
    /// The record with the values above.
    QVariantMap row() const;
    /// Takes over the later state of this order; quantities that its record does not name stay.
    /// False with a text, and nothing changed, when a term of the order (account, symbol, exchange,
    /// side, ordered quantity) is another, the status may not follow the present one, a quantity
    /// shrinks, one changes after a final status, or more would be filled and cancelled than
    /// ordered.
    bool takeState(const QVariantMap& later, QString* error);
};

/// No quantity or amount of a record may be larger.
constexpr double kMostAmount = 1e15;

/// A deal: account, instrument, side, Security::lastQty and TradeField::dealPrice or
/// Security::lastAmount are required, except that a cancel row needs neither quantity nor price.
/// False with a text for a record that is not one. Any thread.
bool readDeal(const QVariantMap& record, DayDeal* deal, QString* error);
/// A position: account, instrument and Security::nominalQty in display units are required.
bool readPosition(const QVariantMap& record, DayPosition* position, QString* error);
/// An order: account, instrument, Security::orderID, side and Security::orderQty are required.
bool readOrder(const QVariantMap& record, DayOrder* order, QString* error);
