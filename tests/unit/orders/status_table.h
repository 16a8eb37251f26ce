#pragma once

#include <QFile>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include "static_db_builder.h"
#include "test_paths.h"
#include "vocabulary/constants.h"

/// An old status to the new ones, joined with "|".
using StatusTable = QMap<QString, QString>;

/// The status table of the sample market; empty when its file cannot be read.
inline StatusTable marketStatusTable() {
    QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/host/market/rules/data/order_status.csv"));
    StatusTable table;
    if (!file.open(QIODevice::ReadOnly)) {
        return table;
    }
    QTextStream lines(&file);
    lines.setCodec("UTF-8");
    for (QString line = lines.readLine(); !line.isNull(); line = lines.readLine()) {
        const QStringList cells = line.split(';');
        if (cells.size() == 3 && !line.startsWith('#') && cells.first() != "code") {
            table.insert(cells.first(), cells.last());
        }
    }
    return table;
}

inline StaticDbBuilder statusData(const StatusTable& table) {
    return StaticDbBuilder().section(Constants::ORDERSTATUSSWITCH, table);
}
