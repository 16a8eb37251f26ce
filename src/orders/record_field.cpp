#include "record_field.h"

namespace {

/// A longer way is not remembered.
constexpr int kLongestWay = 60;

void fetch(const void* address) {
    __builtin_prefetch(address);
}

}  // namespace

const QVariant* RecordField::searchedIn(const QVariantMap& record) {
    quint64 way = 0;
    int length = 0;
    for (const Node* node = rootOf(record); node; ++length) {
        const int order = m_key.compare(node->key);
        if (order == 0) {
            if (length <= kLongestWay) {
                m_way = way | (quint64(1) << length);
            }
            return &node->value;
        }
        const bool isRight = order > 0;
        if (isRight && length <= kLongestWay) {
            way |= quint64(1) << length;
        }
        node = childOf(node, isRight);
    }
    return nullptr;
}

void RecordField::fetchHead(const QVariantMap& record) {
    fetch(headOf(record));
}

void RecordField::fetchRoot(const QVariantMap& record) {
    fetch(rootOf(record));
}

void RecordField::fetchChildren(const QVariantMap& record) {
    if (const Node* const root = rootOf(record)) {
        fetch(root->left);
        fetch(root->right);
    }
}

void RecordField::fetchGrandchildren(const QVariantMap& record) {
    if (const Node* const root = rootOf(record)) {
        for (const QMapNodeBase* const child : {root->left, root->right}) {
            if (child) {
                fetch(child->left);
                fetch(child->right);
            }
        }
    }
}

void RecordField::fetchText(const QVariantMap& record) {
    const QVariant* const value = in(record);
    if (value && value->userType() == QMetaType::QString) {
        const void* text = nullptr;  // what the QString points to
        std::memcpy(&text, value->constData(), sizeof text);
        fetch(text);
    }
}
