#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QStringList>

#include "facade_questions.h"
#include "test_paths.h"

/// The path of the built plug-in library.
inline QString facadeLibraryFile() {
    return QStringLiteral(VELMAR_BINARY_DIR "/plugins/libVelmarBusinessDataManager.so");
}

/// Replaces the exported functions in unit/shell: answers each by its name and records the calls.
/// Must outlive the result of function().
class FacadeRecorder {
public:
    virtual ~FacadeRecorder() = default;

    QMap<QString, QJsonValue> results;  ///< by name
    QStringList calls;                  ///< names, in order
    int interruptAfter = -1;            ///< number of answers; negative for no interrupt

    FacadeAsk function() {
        return [this](const FacadeFunction& function, const QStringList& arguments,
                      QJsonObject* answer) {
            if (calls.size() == interruptAfter) {
                return false;
            }
            const QString name = QString::fromLatin1(function.name);
            calls.append(name);
            reply(name, arguments, answer);
            return true;
        };
    }

protected:
    /// Fills an answer with the result of that name; a test's own recorder may do otherwise.
    virtual void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) {
        Q_UNUSED(arguments)
        answer->insert(QStringLiteral("result"), results.value(name));
    }
};
