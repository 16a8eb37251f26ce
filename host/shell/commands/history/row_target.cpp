#include "row_target.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include "output.h"
#include "status_line.h"

bool RowTarget::check(bool isGood) {
    if (!isGood && m_error.isEmpty()) {
        // The reason of a failure on stdout is printed at the end of the program.
        m_error =
            m_file ? QStringLiteral("%1 cannot be written: %2").arg(m_name, m_file->errorString())
                   : QStringLiteral("the rows could not be written");
    }
    return isGood;
}

bool RowTarget::open() {
    if (!isFile()) {
        return true;
    }
    const QFileInfo existing(m_name);
    // A device or a pipe is written to, not replaced.
    if (existing.exists() && !existing.isFile() && !existing.isDir()) {
        m_file = std::make_unique<QFile>(m_name);
    } else {
        m_file = std::make_unique<QSaveFile>(m_name);
    }
    return check(m_file->open(QIODevice::WriteOnly));
}

bool RowTarget::put(const QByteArray& bytes) {
    if (m_file) {
        return check(m_file->write(bytes) == bytes.size());
    }
    if (!StatusLine::isTerminal()) {
        return check(writeOut(bytes));
    }
    QString text = QString::fromUtf8(bytes);
    return check(
        writeOut(printable(text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"))).toUtf8()));
}

bool RowTarget::keep() {
    if (!m_file) {
        return true;
    }
    auto* const replacing = qobject_cast<QSaveFile*>(m_file.get());
    return check(replacing ? replacing->commit() : m_file->flush());
}
