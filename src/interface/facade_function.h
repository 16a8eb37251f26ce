#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/// How an exported function reaches its answer; flags.
enum FacadeReach : unsigned {
    FacadePlain = 0,
    FacadeFirstLoad = 1,  ///< brings the plug-in up first
    FacadePresenter = 2,  ///< needs a presenter; empty without one
    FacadeWaits = 4       ///< may wait for the account table
};

/// One exported function as data, for whoever calls by name: a command line, a browser of
/// functions, the tests. Arguments are texts: a text as it stands, numbers in decimal, booleans as
/// "true" or "false", everything else as JSON. Parameters that the function only fills may be left
/// out.
struct FacadeFunction {
    const char* name;
    unsigned reach;  ///< FacadeReach flags
    /// "QStringList GetTradingAccountList(bool, int, bool)".
    QString (*signature)();
    /// Whether the texts can be read as this function's arguments. `score` tells how closely, to
    /// choose among overloads: the higher one fits better.
    bool (*fits)(const QStringList& arguments, int* score);
    /// Calls it: "function", "arguments", "result", and "out" with what came back in each parameter
    /// that the function fills. Blocks as the function does. The texts must fit.
    QJsonObject (*call)(const QStringList& arguments);
};

/// The table of every exported function, `count` entries long; it lives as long as the library.
/// Under this name in the library too, so that a host can resolve it without linking.
extern "C" Q_DECL_EXPORT const FacadeFunction* velmarFacadeFunctions(int* count);

using FacadeFunctionsAccessor = const FacadeFunction* (*)(int* count);

/// The function of that name whose parameters the texts fit best; null with a text when there is
/// none, or when two fit alike.
inline const FacadeFunction* chooseFacadeFunction(const FacadeFunction* functions, int count,
                                                  const QString& name, const QStringList& arguments,
                                                  QString* error) {
    const FacadeFunction* best = nullptr;
    int bestScore = -1;
    bool tied = false;
    QStringList candidates;
    for (int i = 0; i < count; ++i) {
        if (name != QLatin1String(functions[i].name)) {
            continue;
        }
        candidates.append(functions[i].signature());
        int score = 0;
        if (!functions[i].fits(arguments, &score)) {
            continue;
        }
        if (score > bestScore) {
            best = &functions[i];
            bestScore = score;
            tied = false;
        } else if (score == bestScore) {
            tied = true;
        }
    }
    if (candidates.isEmpty()) {
        *error = QStringLiteral("no exported function is called %1").arg(name);
    } else if (!best) {
        *error = QStringLiteral("the arguments do not fit: %1")
                     .arg(candidates.join(QLatin1String("; ")));
    } else if (tied) {
        *error = QStringLiteral("the arguments fit more than one: %1")
                     .arg(candidates.join(QLatin1String("; ")));
        best = nullptr;
    }
    return best;
}
