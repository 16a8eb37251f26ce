#pragma once

#include <QString>
#include <QVariantMap>

#include "sample_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

inline const QString kRead = Quindar_MsgType::getUserProfileDataRequest;
inline const QString kWrite = Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest;
inline const QString kCages = QStringLiteral("user_priceCage:Self_AllPriceCageMap");
inline const QString kApply = QStringLiteral("user_priceCage:Self_PriceCageApply");

/// A row of a request that writes a user's profile.
inline QVariantMap profileRow(const QString& key, const QString& data,
                              const QString& user = SampleLogin::user) {
    return {{UserAccount::userID, user},
            {System::profileKey, key},
            {System::profileData, data},
            {System::accessLevel, 2},
            {Security::alterType, AlterType::create}};
}
