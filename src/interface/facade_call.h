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
    static FacadeParameter parameter() {
        FacadeParameter parameter;
        parameter.type = typeName();
        parameter.isOut = isOut;
        if constexpr (std::is_enum_v<Value>) {
            parameter.values = FacadeValue<Value>::values();
        }
        return parameter;
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

    /// Which text belongs to each parameter, -1 for one that was left out. False unless all are
    /// given, or all but those that the function fills.
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
    static FacadeMisfit misfit(const QStringList& arguments, std::index_sequence<I...>) {
        std::array<int, total + 1> place{};
        FacadeMisfit found;
        if (!places(arguments.size(), &place)) {
            found.why = countText(arguments.size());
            return found;
        }
        (noteMisfit<I>(arguments, place[I], &found), ...);
        return found;
    }

    /// Notes why a parameter's text does not fit, unless an earlier one is noted.
    template <std::size_t I>
    static void noteMisfit(const QStringList& arguments, int place, FacadeMisfit* found) {
        using Value = std::tuple_element_t<I, Values>;
        Value value{};
        if (found->parameter < 0 && place >= 0 &&
            !FacadeValue<Value>::fromText(arguments.at(place), &value)) {
            found->parameter = static_cast<int>(I);
            found->why = whyNotValue<Value>(arguments.at(place));
        }
    }

    static QString countText(int given) {
        int outs = 0;
        for (std::size_t i = 0; i < total; ++i) {
            outs += isOut[i] ? 1 : 0;
        }
        const int all = static_cast<int>(total);
        const QString count =
            outs == 0 ? QString::number(all) : QStringLiteral("%1 or %2").arg(all - outs).arg(all);
        return QStringLiteral("takes %1 argument%2, not %3")
            .arg(count, all == 1 && outs == 0 ? QString() : QStringLiteral("s"))
            .arg(given);
    }

    template <std::size_t... I>
    static bool knowsValues(const QStringList& arguments, [[maybe_unused]] FacadeMisfit* unknown,
                            std::index_sequence<I...>) {
        std::array<int, total + 1> place{};
        return places(arguments.size(), &place) &&
               (knowsValue<I>(arguments, place[I], unknown) && ...);
    }

    template <std::size_t I>
    static bool knowsValue([[maybe_unused]] const QStringList& arguments,
                           [[maybe_unused]] int place, [[maybe_unused]] FacadeMisfit* unknown) {
        using Value = std::tuple_element_t<I, Values>;
        if constexpr (std::is_enum_v<Value>) {
            Value value{};
            if (place >= 0 && FacadeValue<Value>::fromText(arguments.at(place), &value) &&
                !FacadeValue<Value>::knows(value)) {
                unknown->parameter = static_cast<int>(I);
                unknown->why = whyNotValue<Value>(arguments.at(place));
                return false;
            }
        }
        return true;
    }

    static QVector<FacadeParameter> parameters() { return {Slot<Parameters>::parameter()...}; }

    template <std::size_t... I>
    static QJsonObject call(Result (*function)(Parameters...), const QString& signature,
                            const QStringList& arguments, std::index_sequence<I...> sequence) {
        Values values;
        int score = 0;
        QJsonObject answer{{QStringLiteral("function"), signature}};
        if (!read(arguments, &values, &score, sequence)) {
            answer.insert(QStringLiteral("error"), QStringLiteral("the arguments do not fit"));
            return answer;
        }
        QJsonArray given;
        (given.append(FacadeValue<std::tuple_element_t<I, Values>>::toJson(std::get<I>(values))),
         ...);
        answer.insert(QStringLiteral("arguments"), given);
        if constexpr (std::is_void_v<Result>) {
            function(Slot<Parameters>::pass(std::get<I>(values))...);
            answer.insert(QStringLiteral("result"), QJsonValue::Null);
        } else {
            const auto result = function(Slot<Parameters>::pass(std::get<I>(values))...);
            answer.insert(QStringLiteral("result"),
                          FacadeValue<std::decay_t<Result>>::toJson(result));
        }
        QJsonArray outs;
        (appendOut<I>(values, &outs), ...);
        if (!outs.isEmpty()) {
            answer.insert(QStringLiteral("out"), outs);
        }
        return answer;
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

/// What the table needs of one function; `Function` is its address, of an overload by a cast.
template <auto Function>
struct FacadeEntry {
    template <class Result, class... Parameters>
    static constexpr auto callerOf(Result (*)(Parameters...)) {
        return facade_detail::Caller<Result, Parameters...>{};
    }
    template <class Result, class... Parameters>
    static QString resultNameOf(Result (*)(Parameters...)) {
        return facade_detail::resultName<Result>();
    }
    using Caller = decltype(callerOf(Function));
    using Sequence = std::make_index_sequence<Caller::total>;

    static bool fits(const QStringList& arguments, int* score) {
        typename Caller::Values values;
        return Caller::read(arguments, &values, score, Sequence());
    }
    static FacadeMisfit misfit(const QStringList& arguments) {
        return Caller::misfit(arguments, Sequence());
    }
    static bool knowsValues(const QStringList& arguments, FacadeMisfit* unknown) {
        return Caller::knowsValues(arguments, unknown, Sequence());
    }
    static QString resultType() { return resultNameOf(Function); }
    static QJsonObject call(const FacadeFunction& function, const QStringList& arguments) {
        return Caller::call(Function, function.signature(), arguments, Sequence());
    }
};

/// An entry of the table. `parameters` are the names in order, joined with ", ".
template <auto Function>
constexpr FacadeFunction facadeEntry(const char* name, unsigned reach, unsigned needs,
                                     const char* parameters, FacadeFunction::Note note = nullptr) {
    using Entry = FacadeEntry<Function>;
    return FacadeFunction{name,
                          reach,
                          needs,
                          parameters,
                          note,
                          &Entry::fits,
                          &Entry::misfit,
                          &Entry::knowsValues,
                          &Entry::resultType,
                          &Entry::Caller::parameters,
                          &Entry::call};
}
