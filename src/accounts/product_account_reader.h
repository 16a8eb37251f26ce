#pragma once

#include <QString>
#include <optional>

/// What the message flow needs to know about an account. Any thread; does not wait for the load.
class ProductAccountReader {
public:
    virtual ~ProductAccountReader() = default;

    /// The product account of a trading account; no value for an account without a record.
    virtual std::optional<QString> productAccountOf(const QString& tradingAccount) const = 0;
};
