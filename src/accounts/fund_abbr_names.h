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
    /// Returns an empty text for an account without an abbreviation, and before open().
    QString abbrName(const QString& tradingAccount) const;
    /// Writes abbreviations by trading account to the file at once; an empty text removes one.
    /// Does nothing before open().
    void setAbbrNames(const QMap<QString, QString>& abbrMap);

private:
    std::atomic<SharedSettings*> m_fundAbbrSettings{nullptr};
};
