#pragma once

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <algorithm>

#include "test_paths.h"

// What the vocabulary tests check in lists of its values and in the headers that define them.

/// Each value that occurs more than once, as often as it repeats.
inline QStringList repeated(QStringList values) {
    std::sort(values.begin(), values.end());
    QStringList result;
    for (int i = 1; i < values.size(); ++i) {
        if (values.at(i) == values.at(i - 1)) {
            result.append(values.at(i));
        }
    }
    return result;
}

inline QStringList common(const QStringList& left, const QStringList& right) {
    QStringList result;
    for (const QString& value : left) {
        if (right.contains(value)) {
            result.append(value);
        }
    }
    return result;
}

inline QStringList holdingAnyOf(const QStringList& values, const QString& characters) {
    QStringList result;
    for (const QString& value : values) {
        const bool holds = std::any_of(characters.cbegin(), characters.cend(),
                                       [&value](QChar one) { return value.contains(one); });
        if (holds) {
            result.append(value);
        }
    }
    return result;
}

inline QStringList sorted(QStringList values) {
    std::sort(values.begin(), values.end());
    return values;
}

/// A constant of a header: its group, the innermost namespace around it, its name and its text.
struct HeaderConstant {
    QString group;
    QString name;
    QString text;
};

/// The text constants of the given headers of the vocabulary, so that a list in a test cannot miss
/// any. A header that cannot be read or parsed yields a constant that says so.
inline QList<HeaderConstant> constantsOf(const QStringList& headers) {
    static const QRegularExpression part(
        QStringLiteral("^namespace (\\w+) \\{|^\\}|"
                       "VELMAR_TEXT\\((\\w+),\\s+\"([^\"]*)\"\\);"),
        QRegularExpression::MultilineOption);
    QList<HeaderConstant> constants;
    for (const QString& header : headers) {
        QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/src/platform/vocabulary/") + header);
        const QString text =
            file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        const int before = constants.size();
        QStringList groups;
        for (auto match = part.globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            if (!found.captured(1).isEmpty()) {
                groups.append(found.captured(1));
            } else if (!found.captured(2).isEmpty()) {
                constants.append(
                    {groups.value(groups.size() - 1), found.captured(2), found.captured(3)});
            } else if (!groups.isEmpty()) {
                groups.removeLast();
            }
        }
        const int declared = text.count(QStringLiteral("VELMAR_TEXT(")) +
                             text.count(QStringLiteral("inline const QString "));
        if (declared == 0 || declared != constants.size() - before || !groups.isEmpty()) {
            constants.append({header, header, QStringLiteral("not understood: ") + header});
        }
    }
    return constants;
}

inline QStringList literalsOf(const QStringList& headers) {
    QStringList literals;
    for (const HeaderConstant& constant : constantsOf(headers)) {
        literals.append(constant.text);
    }
    return literals;
}

/// The texts of the headers' groups, those of groups of one name together; a name that two headers
/// share counts once.
inline QMap<QString, QStringList> groupsOf(const QStringList& headers) {
    QMap<QString, QMap<QString, QString>> named;
    for (const HeaderConstant& constant : constantsOf(headers)) {
        named[constant.group].insert(constant.name, constant.text);
    }
    QMap<QString, QStringList> groups;
    for (auto it = named.cbegin(); it != named.cend(); ++it) {
        groups.insert(it.key(), it->values());
    }
    return groups;
}
