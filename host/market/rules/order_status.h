#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// Codes of an order's state.
namespace OrderStatus {
inline const QString sent = QStringLiteral("A");  ///< not yet accepted by the exchange
inline const QString accepted = QStringLiteral("0");
inline const QString partlyFilled = QStringLiteral("1");
inline const QString cancelling = QStringLiteral("6");
inline const QString filled = QStringLiteral("2");
inline const QString cancelled = QStringLiteral("4");
inline const QString partlyCancelled = QStringLiteral("5");
inline const QString rejected = QStringLiteral("8");
}  // namespace OrderStatus

/// The states of an order and which may follow which. Loaded once, then read by any thread.
class OrderStatusTable {
public:
    /// Reads the built-in table. False with a text on failure, also when a successor is not a
    /// state.
    bool load(QString* error);

    QStringList codes() const { return m_states.keys(); }
    /// Empty for a final state and for an unknown one.
    QStringList successorsOf(const QString& code) const { return m_states.value(code).next; }
    bool mayFollow(const QString& from, const QString& to) const {
        return successorsOf(from).contains(to);
    }
    bool isTerminal(const QString& code) const {
        return m_states.contains(code) && successorsOf(code).isEmpty();
    }
    QString nameOf(const QString& code) const { return m_states.value(code).name; }

private:
    struct State {
        QString name;
        QStringList next;
    };
    QMap<QString, State> m_states;
};
