#include "database_seal.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

// The file format: the header's length, and the offsets of the page size, of the number of changes
// and of the page count.
constexpr int kHeaderBytes = 100;
constexpr int kPageSizeAt = 16;
constexpr int kChangeAt = 24;
constexpr int kPageCountAt = 28;
constexpr qint64 kLargestPage = 65536;
// After the page of the header and that of the table `meta`.
constexpr qint64 kFirstPage = 2;

struct Layout {
    qint64 pageSize = 0;
    qint64 pages = 0;
    quint32 change = 0;  ///< counts the transactions
};

/// Reads the header; what is wrong with it or with the file's size, empty when nothing is.
QString readLayout(QFile& file, Layout* layout) {
    const QByteArray magic("SQLite format 3", 16);
    const QByteArray header = file.read(kHeaderBytes);
    if (header.size() < kHeaderBytes || !header.startsWith(magic)) {
        return QStringLiteral("it is not a database");
    }
    const auto size = qFromBigEndian<quint16>(header.constData() + kPageSizeAt);
    layout->pageSize = size == 1 ? kLargestPage : size;
    layout->change = qFromBigEndian<quint32>(header.constData() + kChangeAt);
    layout->pages = qFromBigEndian<quint32>(header.constData() + kPageCountAt);
    if (layout->pageSize < 512 || layout->pages < 1) {
        return QStringLiteral("its header has no valid size");
    }
    const qint64 stated = layout->pageSize * layout->pages;
    return file.size() == stated ? QString()
                                 : QStringLiteral("it has %1 bytes, but %2 according to its header")
                                       .arg(file.size())
                                       .arg(stated);
}

/// Reads the pages that a digest covers.
class PageDigest {
public:
    PageDigest(QFile& file, const Layout& layout) : m_file(file), m_layout(layout) {}

    /// Empty when a page cannot be read.
    QString value() {
        using namespace DatabaseSeal;
        const qint64 frontEnd = qMin<qint64>(m_layout.pages, kFirstPage + kFrontPages);
        bool read = true;
        for (qint64 page = kFirstPage; read && page < frontEnd; ++page) {
            read = add(page);
        }
        // The last page is always among them, so that the end of the file is checked.
        const qint64 rest = m_layout.pages - frontEnd;
        const qint64 spread = qMin<qint64>(rest, kSpreadPages);
        for (qint64 i = 1; read && i <= spread; ++i) {
            read = add(frontEnd + i * rest / spread - 1);
        }
        return read ? QString::fromLatin1(m_hash.result().toHex()) : QString();
    }

private:
    bool add(qint64 page) {
        if (!m_file.seek(page * m_layout.pageSize)) {
            return false;
        }
        const QByteArray content = m_file.read(m_layout.pageSize);
        m_hash.addData(content);
        return content.size() == m_layout.pageSize;
    }

    QFile& m_file;
    const Layout m_layout;
    QCryptographicHash m_hash{QCryptographicHash::Md5};
};

}  // namespace

bool DatabaseSeal::isSmall(const QString& file) {
    return QFileInfo(file).size() <= kSmallBytes;
}

QString DatabaseSeal::headerFault(const QString& file) {
    QFile content(file);
    Layout layout;
    return content.open(QIODevice::ReadOnly) ? readLayout(content, &layout) : content.errorString();
}

QMap<QString, QString> DatabaseSeal::make(const QString& file) {
    QFile content(file);
    Layout layout;
    if (!content.open(QIODevice::ReadOnly) || !readLayout(content, &layout).isEmpty()) {
        return {};
    }
    const QString digest = PageDigest(content, layout).value();
    if (digest.isEmpty()) {
        return {};
    }
    return {{pagesKey, QString::number(layout.pages)},
            {digestKey, digest},
            // The seal is written in a transaction of its own, which counts too.
            {changeKey, QString::number(layout.change + 1)}};
}

bool DatabaseSeal::covers(const QString& file, const QMap<QString, QString>& meta) {
    QFile content(file);
    Layout layout;
    return content.open(QIODevice::ReadOnly) && readLayout(content, &layout).isEmpty() &&
           meta.value(changeKey) == QString::number(layout.change);
}

QString DatabaseSeal::fault(const QString& file, const QMap<QString, QString>& meta) {
    const QMap<QString, QString> found = make(file);
    if (found.isEmpty()) {
        return QStringLiteral("its pages cannot be read");
    }
    for (const QString& key : {pagesKey, digestKey}) {
        if (meta.value(key) != found.value(key)) {
            return QStringLiteral("%1 \"%2\", but \"%3\" when it was written")
                .arg(key, found.value(key), meta.value(key));
        }
    }
    return {};
}
