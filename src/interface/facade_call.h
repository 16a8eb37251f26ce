#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "facade_function.h"
#include "facade_value.h"

namespace facade_detail {

/// A parameter: what it stores, and whether the function fills it (a plain reference or a pointer).
template <class Parameter>
struct Slot {
    using Value = std::remove_cv_t<std::remove_pointer_t<std::remove_reference_t<Parameter>>>;
    static constexpr bool isPointer = std::is_pointer_v<Parameter>;
    static constexpr bool isOut =
        isPointer || (std::is_lvalue_reference_v<Parameter> &&
                      !std::is_const_v<std::remove_reference_t<Parameter>>);

    static QString typeName() {
        const QString name = FacadeValue<Value>::name();
        if (isPointer) {
            return name + QLatin1Char('*');
        }
        return isOut ? name + QLatin1Char('&') : name;
    }
    static decltype(auto) pass(Value& value) {
        if constexpr (isPointer) {
            return &value;
        } else {
            return (value);
        }
    }
};

template <class Result, class... Parameters>
struct Caller {
    using Values = std::tuple<typename Slot<Parameters>::Value...>;
    static constexpr std::size_t total = sizeof...(Parameters);
    static constexpr std::array<bool, total + 1> isOut{Slot<Parameters>::isOut..., false};

    /// Which text belongs to each parameter, -1 for one that was left out. Either all are given, or
    /// all but those that the function fills.
    static bool places(int given, std::array<int, total + 1>* place) {
        int outs = 0;
        for (std::size_t i = 0; i < total; ++i) {
            outs += isOut[i] ? 1 : 0;
        }
        const int all = static_cast<int>(total);
        if (given != all && given != all - outs) {
            return false;
        }
        int next = 0;
        for (std::size_t i = 0; i < total; ++i) {
            (*place)[i] = isOut[i] && given != all ? -1 : next++;
        }
        return true;
    }

    template <std::size_t... I>
    static bool read(const QStringList& arguments, [[maybe_unused]] Values* values, int* score,
                     std::index_sequence<I...>) {
        std::array<int, total + 1> place{};
        if (!places(arguments.size(), &place)) {
            return false;
        }
        *score = 0;
        return (readOne<I>(arguments, place[I], values, score) && ...);
    }

    template <std::size_t I>
    static bool readOne(const QStringList& arguments, int place, Values* values, int* score) {
        using Value = std::tuple_element_t<I, Values>;
        if (place < 0) {
            return true;
        }
        *score += FacadeValue<Value>::score;
        return FacadeValue<Value>::fromText(arguments.at(place), &std::get<I>(*values));
    }

    template <std::size_t... I>
    static QJsonObject call(Result (*function)(Parameters...), const QString& signature,
                            const QStringList& arguments, std::index_sequence<I...> sequence) {
        Values values;
        int score = 0;
        QJsonObject said{{QStringLiteral("function"), signature}};
        if (!read(arguments, &values, &score, sequence)) {
            said.insert(QStringLiteral("error"), QStringLiteral("the arguments do not fit"));
            return said;
        }
        QJsonArray given;
        (given.append(FacadeValue<std::tuple_element_t<I, Values>>::toJson(std::get<I>(values))),
         ...);
        said.insert(QStringLiteral("arguments"), given);
        if constexpr (std::is_void_v<Result>) {
            function(Slot<Parameters>::pass(std::get<I>(values))...);
            said.insert(QStringLiteral("result"), QJsonValue::Null);
        } else {
            const auto result = function(Slot<Parameters>::pass(std::get<I>(values))...);
            said.insert(QStringLiteral("result"),
                        FacadeValue<std::decay_t<Result>>::toJson(result));
        }
        QJsonArray outs;
        (appendOut<I>(values, &outs), ...);
        if (!outs.isEmpty()) {
            said.insert(QStringLiteral("out"), outs);
        }
        return said;
    }

    template <std::size_t I>
    static void appendOut(const Values& values, QJsonArray* outs) {
        if (isOut[I]) {
            outs->append(QJsonObject{
                {QStringLiteral("parameter"), static_cast<int>(I) + 1},
                {QStringLiteral("value"),
                 FacadeValue<std::tuple_element_t<I, Values>>::toJson(std::get<I>(values))}});
        }
    }
};

template <class Result>
QString resultName() {
    if constexpr (std::is_void_v<Result>) {
        return QStringLiteral("void");
    } else {
        return FacadeValue<std::decay_t<Result>>::name();
    }
}

}  // namespace facade_detail

/// The table entry of one function; `Function` is its address, of an overload by a cast.
template <auto Function>
struct FacadeEntry {
    template <class Result, class... Parameters>
    static constexpr auto callerOf(Result (*)(Parameters...)) {
        return facade_detail::Caller<Result, Parameters...>{};
    }
    template <class Result, class... Parameters>
    static QString parameterText(Result (*)(Parameters...), const char* name) {
        const QStringList types{facade_detail::Slot<Parameters>::typeName()...};
        return QStringLiteral("%1 %2(%3)")
            .arg(facade_detail::resultName<Result>(), QLatin1String(name),
                 types.join(QLatin1String(", ")));
    }
    using Caller = decltype(callerOf(Function));
    using Sequence = std::make_index_sequence<Caller::total>;

    static bool fits(const QStringList& arguments, int* score) {
        typename Caller::Values values;
        return Caller::read(arguments, &values, score, Sequence());
    }

    template <const char* Name>
    static QString signature() {
        return parameterText(Function, Name);
    }
    template <const char* Name>
    static QJsonObject call(const QStringList& arguments) {
        return Caller::call(Function, signature<Name>(), arguments, Sequence());
    }
};

/// Makes a FacadeFunction named `Name` (a static char array).
template <auto Function, const char* Name>
constexpr FacadeFunction facadeEntry(unsigned reach) {
    using Entry = FacadeEntry<Function>;
    return FacadeFunction{Name, reach, &Entry::template signature<Name>, &Entry::fits,
                          &Entry::template call<Name>};
}
