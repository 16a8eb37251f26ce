#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>

/// One kind of symbol that a filter accepts; a list of them is a filter.
struct SymbolListType {
    QString securityType;            ///< the MdcSecurityType that the entry covers
    QStringList subTypeList;         ///< accepted MdcSubSecurityType values; empty accepts all
    QStringList symbolPostList;      ///< accepted suffixes; empty accepts all
    bool allowDeleted = false;       ///< also accept symbols with System::deleteFlag
    QStringList excludeSubTypeList;  ///< sub-types that are not accepted in any case
};

Q_DECLARE_METATYPE(SymbolListType)
