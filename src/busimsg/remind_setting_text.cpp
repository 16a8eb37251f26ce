#include "remind_setting_text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

namespace {

inline const QString kGeneral = QStringLiteral("General");
inline const QString kGroupMarks = QStringLiteral("/\\%");
inline const QString kPartMarks = QStringLiteral("/\\%_");

QString escaped(QChar c) {
    return QStringLiteral("%%1").arg(int(c.unicode()), 2, 16, QLatin1Char('0'));
}

QString escaped(const QString& part, const QString& marks) {
    QString text;
    for (const QChar c : part) {
        text += marks.contains(c) ? escaped(c) : QString(c);
    }
    return text;
}

/// The character whose two hexadecimal digits follow a '%' at `at`; -1 without two digits, as in a
/// file that another program wrote.
int codeAt(const QString& part, int at) {
    static const QRegularExpression digits(QStringLiteral("\\G%([0-9A-Fa-f]{2})"));
    const QRegularExpressionMatch match = digits.match(part, at);
    return match.hasMatch() ? match.captured(1).toInt(nullptr, 16) : -1;
}

QString unescaped(const QString& part) {
    QString text;
    for (int i = 0; i < part.size(); ++i) {
        const int code = part.at(i) == QLatin1Char('%') ? codeAt(part, i) : -1;
        text += code < 0 ? part.at(i) : QChar(code);
        i += code < 0 ? 0 : 2;
    }
    return text;
}

}  // namespace

QString remindKeyOf(const RemindKind& kind) {
    QString type = escaped(kind.type, kGroupMarks);
    if (type.compare(kGeneral, Qt::CaseInsensitive) == 0) {
        type = escaped(type.at(0)) + type.mid(1);
    }
    return type + QLatin1Char('/') + escaped(kind.subType, kPartMarks) + QLatin1Char('_') +
           escaped(kind.level, kPartMarks);
}

bool readRemindKey(const QString& key, RemindKind* kind) {
    const QStringList parts = key.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (parts.size() < 2 || parts.first() == kGeneral) {
        return false;
    }
    const QStringList ofType = parts.at(1).split(QLatin1Char('_'), Qt::SkipEmptyParts);
    if (ofType.size() < 2) {
        return false;
    }
    *kind = {unescaped(parts.first()), unescaped(ofType.at(0)), unescaped(ofType.at(1))};
    return true;
}

QString remindTextOf(const QVariantMap& setting) {
    return QString::fromUtf8(
        QJsonDocument(QJsonObject::fromVariantMap(setting)).toJson(QJsonDocument::Compact));
}

bool readRemindText(const QString& text, QVariantMap* setting) {
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    *setting = document.object().toVariantMap();
    return document.isObject();
}
