#pragma once

#include "price_fixture.h"

// The sources of a load of the cage, for the scripts of the tests.

inline const QString kProfile = Quindar_MsgType::getUserProfileDataRequest;
inline const QString kConfig = Velmar_MsgType::getSysConfigRequest;
inline const QString kCageKey = QStringLiteral("user_priceCage:Self_AllPriceCageMap");
inline const QString kApplyKey = QStringLiteral("user_priceCage:Self_PriceCageApply");

inline const QString kOneCage =
    QStringLiteral(R"({"U":{"securityType":["1-2-*"],"controlType":1}})");
inline const QString kOneApply = QStringLiteral(R"({"ETF":{"status":"1"}})");

/// A row of the user's profile.
inline QVariantMap profileRow(const QString& key, const QString& data) {
    return {{System::profileKey, key}, {System::profileData, data}};
}

/// The server's configuration items by name; a missing item gives an answer without rows.
inline ScriptedReply::Function items(const QMap<QString, QString>& values) {
    return [values](const QVariant& body) {
        const QString name = headerOf(body).value(System::itemName).toString();
        return makeAnswer(body, values.contains(name)
                                    ? QList<QVariantMap>{{{System::itemValue, values.value(name)}}}
                                    : QList<QVariantMap>());
    };
}

/// The text in which the cage says where its tables come from.
inline QString sourceText(PriceCage& cage) {
    QString text = QStringLiteral("untouched");
    cage.IsGetUserCageInfo(text);
    return text;
}
