#pragma once

#include <QtTest>
#include <memory>

#include "local_platform.h"
#include "temp_home.h"

/// A started platform without a link, over a home of its own; closed at the end.
class PlatformAtHome {
public:
    PlatformAtHome() {
        QString error;
        if (!LocalPlatform::instance().start(m_home->options(), &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
    }
    ~PlatformAtHome() { LocalPlatform::instance().close(); }
    Q_DISABLE_COPY(PlatformAtHome)

    /// The home's folder; must not be called after removeHome().
    QString path() const { return m_home->path(); }
    /// Deletes the home while the platform runs.
    void removeHome() { m_home.reset(); }

private:
    std::unique_ptr<TempHome> m_home = std::make_unique<TempHome>();
};
