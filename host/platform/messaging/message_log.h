#pragma once

#include <QLoggingCategory>

// Log categories of messaging and lifecycle. Never destroyed: objects that live to the end of the
// process log from their destructors.
const QLoggingCategory& lcMessage();     // bodies
const QLoggingCategory& lcEventBus();    // events and pushes
const QLoggingCategory& lcChannel();     // presenters and their threads
const QLoggingCategory& lcRequest();     // requests and answers
const QLoggingCategory& lcPluginHost();  // plug-ins and their objects
const QLoggingCategory& lcHost();        // start, log-in, shut-down
/// Each subscription, published event and request, on the thread that makes it. Its debug lines are
/// off unless a filter rule turns them on.
const QLoggingCategory& lcTraffic();
