// Feeds any text to what reads menu positions, reminder settings with their keys, and the text form
// of records. What is refused must be empty; what is accepted must be the same when it is written
// and read again.

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QStringList>
#include <QVector>
#include <cstdio>
#include <cstdlib>

#include "menu_position.h"
#include "remind_setting_text.h"
#include "velmarutils/velmar_utils.h"

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "menu_texts_fuzz: %s\n", what);
        std::abort();
    }
}

/// The position behind a string literal that begins at `from`.
int endOfLiteral(const QString& text, int from) {
    int at = from + 1;
    while (at < text.size() && text.at(at) != QLatin1Char('"')) {
        at += text.at(at) == QLatin1Char('\\') ? 2 : 1;
    }
    return qMin(at + 1, text.size());
}

bool isFollowedByColon(const QString& text, int at) {
    while (at < text.size() && text.at(at).isSpace()) {
        ++at;
    }
    return at < text.size() && text.at(at) == QLatin1Char(':');
}

/// The text of a literal, so that "a" and "\u0061" are the same key.
QString keyOf(const QString& literal) {
    const QJsonArray list = QJsonDocument::fromJson('[' + literal.toUtf8() + ']').array();
    return list.isEmpty() ? literal : list.first().toString();
}

/// Whether a key comes again in the same object. Qt 5.15's JSON parser loses the memory of a list
/// or an object under such a key.
bool hasRepeatedKey(const QString& text) {
    QVector<QSet<QString>> keys;
    for (int at = 0; at < text.size(); ++at) {
        const QChar c = text.at(at);
        if (c == QLatin1Char('{') || c == QLatin1Char('[')) {
            keys.append(QSet<QString>());
        } else if ((c == QLatin1Char('}') || c == QLatin1Char(']')) && !keys.isEmpty()) {
            keys.removeLast();
        } else if (c == QLatin1Char('"')) {
            const int end = endOfLiteral(text, at);
            if (!keys.isEmpty() && isFollowedByColon(text, end)) {
                const QString key = keyOf(text.mid(at, end - at));
                if (keys.last().contains(key)) {
                    return true;
                }
                keys.last().insert(key);
            }
            at = end - 1;
        }
    }
    return false;
}

void tryMenuPosition(const QString& text) {
    auto error = QJsonParseError::NoError;
    const QList<VelmarPluginInfo> plugins = readMenuPosition(text, &error);
    require(error == QJsonParseError::NoError || plugins.isEmpty(), "a refusal left a plug-in");
    for (const VelmarPluginInfo& plugin : plugins) {
        require(plugin.menuName.isEmpty(), "a position has set the menu's name");
    }
    if (!text.trimmed().startsWith(QLatin1Char('{')) || error != QJsonParseError::NoError) {
        return;
    }
    // A list of one object is the same as the object, up to the parser's limit of depth.
    const QList<VelmarPluginInfo> inList =
        readMenuPosition(QLatin1Char('[') + text + QLatin1Char(']'), &error);
    require(error == QJsonParseError::DeepNesting || inList.size() == plugins.size(),
            "a list of one object differs from the object");
}

void tryRemindText(const QString& text) {
    QVariantMap setting;
    if (!readRemindText(text, &setting)) {
        require(setting.isEmpty(), "a refused setting is not empty");
        return;
    }
    const QString written = remindTextOf(setting);
    QVariantMap again;
    require(readRemindText(written, &again), "a written setting is refused");
    require(remindTextOf(again) == written, "writing a setting again changed it");
}

bool isSame(const RemindKind& one, const RemindKind& other) {
    return one.type == other.type && one.subType == other.subType && one.level == other.level;
}

void tryRemindKind(const RemindKind& kind) {
    if (kind.type.isEmpty() || kind.subType.isEmpty() || kind.level.isEmpty()) {
        return;
    }
    RemindKind again;
    require(readRemindKey(remindKeyOf(kind), &again), "a written key is refused");
    require(isSame(kind, again), "a key names another kind");
}

void tryRemindKey(const QString& text) {
    RemindKind kind;
    if (readRemindKey(text, &kind)) {
        require(!kind.type.isEmpty() && !kind.subType.isEmpty() && !kind.level.isEmpty(),
                "an accepted key has an empty part");
        tryRemindKind(kind);
    }
    const QStringList lines = text.split(QLatin1Char('\n'));
    tryRemindKind({lines.value(0), lines.value(1), lines.value(2)});
}

void tryRecordText(const QString& text) {
    QVariantMap record;
    if (!VelmarUtils::TransStr2Map(text, record).isEmpty()) {
        require(record.isEmpty(), "a refused record is not empty");
        return;
    }
    QString error;
    const QString written = VelmarUtils::TransMap2Str(record, error);
    if (!error.isEmpty()) {
        return;  // nested more deeply than the writer allows
    }
    QVariantMap again;
    require(VelmarUtils::TransStr2Map(written, again).isEmpty(), "a written record is refused");
    require(again == record, "writing a record has changed it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    tryRemindKey(text);
    if (!hasRepeatedKey(text)) {
        tryMenuPosition(text);
        tryRemindText(text);
        tryRecordText(text);
    }
    return 0;
}
