#pragma once

#include <QString>
#include <memory>

/// What the book needs of a security on one of its exchanges.
struct Instrument {
    QString symbol;
    QString securityID;
    QString exchange;
    /// What a price applies to in one piece: the multiplier of a contract, the grams of a gold
    /// contract, otherwise 1. An amount is quantity times price times unit.
    double unit = 1;
    /// Security::nominalQty of one piece, so that this times the display factor, the contract
    /// multiplier and, on the gold exchange, 1000 is the unit.
    double nominalPerPiece = 1;
    double rate = 1;  ///< yuan per unit of its currency
    /// What was bought today cannot be sold before the next day.
    bool sellableNextDay = false;

    /// The unit of a gold contract: the grams of its record, or else kilograms by its multiplier.
    static double goldUnit(double tradeUnitQty, double contractMultiplier);

    /// Yuan per unit of an exchange's currency: the mid rate for Hong Kong connect, otherwise 1.
    /// Any thread.
    static double rateOf(const QString& exchange);

    /// Looks it up in the platform's reference data, by the symbol or else by id and exchange;
    /// without an exchange the first one that lists it. Null with a text when it is unknown or the
    /// three contradict each other. Any thread.
    static std::shared_ptr<const Instrument> find(const QString& symbol, const QString& securityID,
                                                  const QString& exchange, QString* error);
};
