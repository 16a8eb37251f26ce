#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <cstring>

/// Reads one field of many records. Records of one source have the same fields, added in the same
/// order, so that their trees have the same shape: the field is looked for first where the last
/// record had it. Reads the tree of Qt 5's QMap directly; QMap's own find compares several keys for
/// each field, which is most of the time that a million records take. Not shared by threads.
class RecordField {
public:
    explicit RecordField(const QString& key) : m_key(key) {}

    const QString& key() const { return m_key; }
    /// The field's value, null when the record does not have the field.
    const QVariant* in(const QVariantMap& record) {
        const Node* node = rootOf(record);
        for (quint64 way = m_way; way > 1 && node; way >>= 1) {
            node = childOf(node, (way & 1) != 0);
        }
        // Mostly the same shared text, which needs no comparison.
        const bool isHere = node && (node->key.isSharedWith(m_key) || node->key == m_key);
        return isHere ? &node->value : searchedIn(record);
    }

    // Bring what in() will read closer to the processor, step by step, while other records are
    // being read. Each step needs the one before it to have ended.
    static void fetchHead(const QVariantMap& record);
    static void fetchRoot(const QVariantMap& record);
    static void fetchChildren(const QVariantMap& record);
    static void fetchGrandchildren(const QVariantMap& record);
    /// The field's text, if it is one.
    void fetchText(const QVariantMap& record);

private:
    using Node = QMapNode<QString, QVariant>;

    /// The end of a map is its head, whose left child is the root.
    static const QMapNodeBase* headOf(const QVariantMap& record);
    static const Node* rootOf(const QVariantMap& record) { return childOf(headOf(record), false); }
    static const Node* childOf(const QMapNodeBase* node, bool isRight) {
        return static_cast<const Node*>(isRight ? node->right : node->left);
    }
    const QVariant* searchedIn(const QVariantMap& record);

    QString m_key;
    /// The way from the root, from the lowest bit on: 1 is to the right; the highest 1 ends it.
    quint64 m_way = 1;
};

inline const QMapNodeBase* RecordField::headOf(const QVariantMap& record) {
    const QVariantMap::const_iterator end = record.cend();
    static_assert(QT_VERSION_MAJOR == 5, "reads the nodes of Qt 5's QMap");
    static_assert(sizeof end == sizeof(const QMapNodeBase*), "an iterator points to a node");
    const QMapNodeBase* head = nullptr;
    std::memcpy(&head, static_cast<const void*>(&end), sizeof head);
    return head;
}
