#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// How an exported function reaches its answer; flags.
enum FacadeReach : unsigned {
    FacadePlain = 0,
    FacadeFirstLoad = 1,  ///< brings the plug-in up first
    FacadePresenter = 2,  ///< needs a presenter; empty without one
    FacadeWaits = 4       ///< may wait for the account table
};

/// What an exported function's answer depends on; flags.
enum FacadeNeeds : unsigned {
    FacadeNothing = 0,
    FacadeAccounts = 1,    ///< the account table, which the start-up loads first
    FacadeHongKong = 2,    ///< Hong Kong rates and price ladders, which the start-up loads next
    FacadeCage = 4,        ///< the price cage, which the start-up loads after these
    FacadeSecurities = 8,  ///< the securities of the static database
    FacadeServer = 16,     ///< the call itself sends requests
    FacadePositions =
        32,  ///< the neighbouring data plug-in's positions, and ticks for their prices
    FacadeExecutions = 64,  ///< the neighbouring data plug-in's executions of the day
    FacadeMessages = 128,   ///< the business messages, which the start-up completes by a query
    FacadeRisk = 256        ///< the risk notices and types, which the start-up loads last
};

/// One value of an enumeration.
struct FacadeEnumValue {
    int number;
    const char* name;
};

struct FacadeParameter {
    QString name;
    QString type;
    QString note;        ///< unit, values or meaning; empty where the name says it all
    QStringList values;  ///< of an enumeration: "0 Keep"
    bool isOut = false;  ///< the function fills it, so a caller may leave it out
};

/// Why texts cannot be read as the arguments of a function.
struct FacadeMisfit {
    int parameter = -1;  ///< from 0; -1 when the number of arguments is wrong
    QString why;         ///< "'x' is not a whole number"
};

/// One exported function as data, for callers by name: a command line, a browser of functions, the
/// tests. Arguments are texts: a text as it stands, numbers in decimal, booleans as
/// "true" or "false", enumerations as a number or a name, everything else as JSON. Parameters that
/// the function only fills may be left out.
struct FacadeFunction {
    using Note = QString (*)(const QString& function, const QString& parameter);

    const char* name;
    unsigned reach;          ///< FacadeReach flags
    unsigned needs;          ///< FacadeNeeds flags
    const char* parameters;  ///< their names in order, joined with ", "
    Note note;               ///< what is known of a parameter, or of "result"; may be null
    /// Whether the texts can be read as this function's arguments. `score` says how closely, to
    /// choose among overloads: the higher one fits better.
    bool (*fits)(const QStringList& arguments, int* score);
    /// Why the texts cannot be read as arguments; only for texts that do not fit.
    FacadeMisfit (*misfit)(const QStringList& arguments);
    /// Whether every argument of an enumeration is one of its values; the texts must fit.
    bool (*knowsValues)(const QStringList& arguments, FacadeMisfit* unknown);

    /// "QStringList GetTradingAccountList(bool, int, bool)"; differs among overloads.
    QString signature() const;
    /// "QStringList GetTradingAccountList(bool wait, int authority, bool includeDistributed)".
    QString declaration() const;
    QVector<FacadeParameter> parameterList() const;
    QString resultType() const { return resultTypeOf(); }
    /// What is known of the result: its unit or meaning; often empty.
    QString resultNote() const;
    /// Calls it: "function", "arguments", "result", and "out" with what came back in each parameter
    /// that the function fills. Integers beyond 2^53 are written as decimal texts. Blocks as the
    /// function does. The texts must fit.
    QJsonObject call(const QStringList& arguments) const { return callOf(*this, arguments); }

    // What the members above are made of.
    QString (*resultTypeOf)();
    QVector<FacadeParameter> (*parametersOf)();  ///< types and values; names are in `parameters`
    QJsonObject (*callOf)(const FacadeFunction& function, const QStringList& arguments);
};

inline QVector<FacadeParameter> FacadeFunction::parameterList() const {
    QVector<FacadeParameter> list = parametersOf();
    const QStringList names = QString::fromLatin1(parameters).split(QStringLiteral(", "));
    for (int i = 0; i < list.size(); ++i) {
        list[i].name = names.value(i);
        list[i].note = note ? note(QLatin1String(name), list[i].name) : QString();
    }
    return list;
}

inline QString FacadeFunction::resultNote() const {
    return note ? note(QLatin1String(name), QStringLiteral("result")) : QString();
}

inline QString FacadeFunction::signature() const {
    QStringList types;
    for (const FacadeParameter& parameter : parametersOf()) {
        types.append(parameter.type);
    }
    return QStringLiteral("%1 %2(%3)")
        .arg(resultTypeOf(), QLatin1String(name), types.join(QStringLiteral(", ")));
}

inline QString FacadeFunction::declaration() const {
    QStringList texts;
    for (const FacadeParameter& parameter : parameterList()) {
        texts.append(QStringLiteral("%1 %2").arg(parameter.type, parameter.name).trimmed());
    }
    return QStringLiteral("%1 %2(%3)")
        .arg(resultTypeOf(), QLatin1String(name), texts.join(QStringLiteral(", ")));
}

/// The table of every exported function, `count` entries long; it lives as long as the library.
/// Under this name in the library too, so that a host can resolve it without linking.
extern "C" Q_DECL_EXPORT const FacadeFunction* velmarFacadeFunctions(int* count);

using FacadeFunctionsAccessor = const FacadeFunction* (*)(int* count);

/// "argument 2, authority: 'x' is not a whole number".
inline QString misfitText(const FacadeFunction& function, const FacadeMisfit& misfit) {
    if (misfit.parameter < 0) {
        return misfit.why;
    }
    const FacadeParameter parameter = function.parameterList().value(misfit.parameter);
    return QStringLiteral("argument %1, %2: %3")
        .arg(misfit.parameter + 1)
        .arg(parameter.name.isEmpty() ? parameter.type : parameter.name, misfit.why);
}

/// The function of that name whose parameters the texts fit best. Null with a text when no function
/// has the name, when the texts fit none of them, or when they fit two alike.
inline const FacadeFunction* chooseFacadeFunction(const FacadeFunction* functions, int count,
                                                  const QString& name, const QStringList& arguments,
                                                  QString* error) {
    const FacadeFunction* best = nullptr;
    int bestScore = -1;
    bool tied = false;
    QStringList fitting;
    QStringList misfits;
    for (int i = 0; i < count; ++i) {
        const FacadeFunction& function = functions[i];
        if (name != QLatin1String(function.name)) {
            continue;
        }
        int score = 0;
        if (!function.fits(arguments, &score)) {
            misfits.append(QStringLiteral("%1: %2").arg(
                function.declaration(), misfitText(function, function.misfit(arguments))));
            continue;
        }
        fitting.append(function.declaration());
        if (score > bestScore) {
            best = &function;
            bestScore = score;
            tied = false;
        } else if (score == bestScore) {
            tied = true;
        }
    }
    if (fitting.isEmpty() && misfits.isEmpty()) {
        *error = QStringLiteral("no exported function is called %1").arg(name);
    } else if (!best) {
        *error =
            QStringLiteral("the arguments do not fit %1").arg(misfits.join(QLatin1String("; ")));
    } else if (tied) {
        *error = QStringLiteral("the arguments fit more than one: %1")
                     .arg(fitting.join(QLatin1String("; ")));
        best = nullptr;
    }
    return best;
}
