#pragma once

/// Sees to it that the platform closes when the application is about to quit, and again from a post
/// routine of the application object, before static objects go. Cheap to repeat: done once for each
/// application object, and the first part only when there is one yet.
void installShutDownHooks();
