#pragma once

#include <QStringList>

/// The message types that a fault may name besides "*": those that the server answers, sorted. Any
/// thread.
const QStringList& faultTypes();
