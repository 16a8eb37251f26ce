#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>

/// One kind of symbol that a filter lets pass; a list of them is a filter.
struct SymbolListType {
    QString securityType;            ///< the MdcSecurityType that the entry covers
    QStringList subTypeList;         ///< admitted MdcSubSecurityType values; empty admits all
    QStringList symbolPostList;      ///< admitted suffixes; empty admits all
    bool allowDeleted = false;       ///< symbols with System::deleteFlag may pass
    QStringList excludeSubTypeList;  ///< sub-types that this entry refuses in the end
};

Q_DECLARE_METATYPE(SymbolListType)
