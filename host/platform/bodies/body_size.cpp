#include "body_size.h"

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantHash>
#include <QVariantList>
#include <QVariantMap>

#include "flat_row.h"

namespace {

constexpr qint64 kFrame = 5;   // head of a text, a list or a map
constexpr qint64 kNumber = 9;  // and whatever else has a fixed size
constexpr qint64 kOther = 40;  // dates and times, as texts with a tag

/// Counts up to a limit.
class Counter {
public:
    explicit Counter(qint64 enough) : m_enough(enough) {}

    qint64 size() const { return m_size; }

    void add(const QVariant& value) {
        switch (value.userType()) {
            case QMetaType::QString:
                return addText(*static_cast<const QString*>(value.constData()));
            case QMetaType::QByteArray:
                m_size += kFrame + static_cast<const QByteArray*>(value.constData())->size();
                return;
            case QMetaType::QVariantList:
                return addAll(*static_cast<const QVariantList*>(value.constData()));
            case QMetaType::QVariantMap:
                return addPairs(*static_cast<const QVariantMap*>(value.constData()));
            case QMetaType::QVariantHash:
                return addPairs(*static_cast<const QVariantHash*>(value.constData()));
            case QMetaType::QStringList:
                return addAll(*static_cast<const QStringList*>(value.constData()));
            default:
                if (value.userType() == flatRowType()) {
                    return addRow(flatRowIn(value));
                }
                m_size += value.userType() < QMetaType::QChar ? kNumber : kOther;
        }
    }

private:
    bool isEnough() const { return m_size > m_enough; }

    void add(const QString& text) { addText(text); }

    void addText(const QString& text) {
        m_size += kFrame + text.size();
        for (const QChar c : text) {
            // A pair of surrogates takes four bytes, so two for each.
            m_size += c.unicode() < 0x80 ? 0 : (c.unicode() < 0x800 || c.isSurrogate() ? 1 : 2);
        }
    }

    template <class List>
    void addAll(const List& values) {
        m_size += kFrame;
        for (auto it = values.cbegin(); it != values.cend() && !isEnough(); ++it) {
            add(*it);
        }
    }

    template <class Map>
    void addPairs(const Map& pairs) {
        m_size += kFrame;
        for (auto it = pairs.cbegin(); it != pairs.cend() && !isEnough(); ++it) {
            addText(it.key());
            add(it.value());
        }
    }

    void addRow(const FlatRow& row) {
        m_size += kFrame;
        row.forEach([this](const QString& key, const QVariant& value) {
            addText(key);
            add(value);
            return true;
        });
    }

    const qint64 m_enough;
    qint64 m_size = 0;
};

}  // namespace

qint64 bodySize(const QVariant& body, qint64 enough) {
    Counter counter(enough);
    counter.add(body);
    return counter.size();
}
