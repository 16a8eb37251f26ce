#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QStringList>

#include "facade_questions.h"
#include "test_paths.h"

/// The library of the plug-in as it was built.
inline QString facadeLibraryFile() {
    return QStringLiteral(VELMAR_BINARY_DIR "/plugins/libVelmarBusinessDataManager.so");
}

/// Stands in for the exported functions: answers each by its name and keeps which were asked. For
/// unit/shell. It has to outlive what function() gave.
class FacadeRecorder {
public:
    virtual ~FacadeRecorder() = default;

    QMap<QString, QJsonValue> results;  ///< by name
    QStringList asked;                  ///< names, in order
    int interruptAfter = -1;            ///< so many answers; negative for no interrupt

    FacadeAsk function() {
        return [this](const FacadeFunction& function, const QStringList& arguments,
                      QJsonObject* answer) {
            if (asked.size() == interruptAfter) {
                return false;
            }
            const QString name = QString::fromLatin1(function.name);
            asked.append(name);
            reply(name, arguments, answer);
            return true;
        };
    }

protected:
    /// Fills an answer: with the result of that name unless a test's own recorder knows better.
    virtual void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) {
        Q_UNUSED(arguments)
        answer->insert(QStringLiteral("result"), results.value(name));
    }
};
