#pragma once

#include <QStringList>
#include <algorithm>

/// The values that stand more than once, as often as they do again.
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

/// Those of the left that the right has too.
inline QStringList common(const QStringList& left, const QStringList& right) {
    QStringList result;
    for (const QString& value : left) {
        if (right.contains(value)) {
            result.append(value);
        }
    }
    return result;
}

/// Those that hold one of the characters.
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
