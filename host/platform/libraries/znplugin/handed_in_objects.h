#pragma once

#include <QList>
#include <QObject>

class IPlugin;

/// The objects that plug-ins gave to the plug-in manager and that are not deleted yet.
namespace HandedInObjects {

void add(const IPlugin* plugin, QObject* object);
/// In the order of add(), without those that were deleted meanwhile.
QList<QObject*> of(const IPlugin* plugin);
/// Deletes them in reverse order.
void deleteAll(const IPlugin* plugin);

}  // namespace HandedInObjects
