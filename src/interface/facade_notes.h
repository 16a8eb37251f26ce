#pragma once

#include <QString>

/// The unit, the values or the meaning of a parameter of an exported function; of what it returns
/// when the parameter is "result". Empty where the name says it all.
QString facadeNote(const QString& function, const QString& parameter);
