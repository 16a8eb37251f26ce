#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QString>
#include <QtTest>

/// Makes a root process another user while it lives, since permissions do not hold root back. The
/// folders above a file must be open to all then.
class OtherUser {
public:
    OtherUser() {
        constexpr uid_t kNobody = 65534;
        QVERIFY(geteuid() != 0 || seteuid(kNobody) == 0);
    }
    ~OtherUser() {
        const bool restored = seteuid(getuid()) == 0;
        QVERIFY(restored);
    }
    Q_DISABLE_COPY(OtherUser)
};

/// Lets nobody write to a folder; root is another user meanwhile.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& folder) : m_folder(folder.toLocal8Bit()) {
        constexpr uid_t kNobody = 65534;
        QVERIFY(chmod(m_folder.constData(), 0555) == 0);
        QVERIFY(geteuid() != 0 || seteuid(kNobody) == 0);
    }
    ~ReadOnlyFolder() {
        const bool restored = seteuid(getuid()) == 0 && chmod(m_folder.constData(), 0755) == 0;
        QVERIFY(restored);
    }
    Q_DISABLE_COPY(ReadOnlyFolder)

private:
    const QByteArray m_folder;
};
