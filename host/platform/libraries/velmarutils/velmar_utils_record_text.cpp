#include "record_text.h"
#include "velmarutils/velmar_utils.h"

QString VelmarUtils::TransMap2Str(QVariantMap map, QString& error) {
    QString text;
    RecordText::write(map, &text, &error);
    return text;
}

QString VelmarUtils::TransStr2Map(QString text, QVariantMap& out) {
    QString error;
    RecordText::read(text, &out, &error);
    return error;
}
