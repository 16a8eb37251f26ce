#pragma once

#include <QString>

class Client;

/// Waits until the plug-in has done everything that it does after the log-in: account tables, Hong
/// Kong prices, price cage, new share issues, subscriptions. Returns false with a text that names
/// the step under way when the limit is over, or after an interrupt. The accounts of the client are
/// loaded.
bool awaitStartUp(Client& client, int limitMs, QString* error);
