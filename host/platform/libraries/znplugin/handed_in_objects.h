#pragma once

#include <QList>
#include <QObject>

class IPlugin;

/// The objects that plug-ins handed to the plug-in manager and that it has not deleted yet.
namespace HandedInObjects {

void add(const IPlugin* plugin, QObject* object);
/// In the order of handing in; those that were deleted meanwhile are left out.
QList<QObject*> of(const IPlugin* plugin);
/// The last one first.
void deleteAll(const IPlugin* plugin);

}  // namespace HandedInObjects
