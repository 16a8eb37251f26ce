#pragma once

#include <QMap>
#include <QString>
#include <atomic>

class QObject;
class SharedSettings;

/// The user's abbreviations of accounts, kept in "fundAbbr.cfg". Any thread.
class FundAbbrNames {
public:
    /// Opens the file in the user's configuration directory, once; `owner` deletes the settings.
    void open(QObject* owner);
    /// Empty when the account has none, or before open().
    QString abbrName(const QString& tradingAccount) const;
    /// Writes abbreviations by trading account to the file at once; an empty one stands for none.
    /// Nothing before open().
    void setAbbrNames(const QMap<QString, QString>& abbrMap);

private:
    std::atomic<SharedSettings*> m_fundAbbrSettings{nullptr};
};
