#pragma once

#include "client_info_sink.h"

// Reports about the client itself as client information items. On the presenter's object thread;
// they read settings and small files and do not wait.

/// The number of the process's threads, also for the board. Nothing when the system does not give
/// it.
void reportThreadNum(ClientInfoSink& sink);
/// The errors of the static database since the last report: how often each came up, as the text of
/// a record. Nothing without errors. In their texts a comma is the word "comma", and double quotes
/// are left out.
void sendStaticDbErrorInfo(ClientInfoSink& sink);
/// How many records were loaded from the local static database. Nothing below 1.
void reportLocalStaticDb(ClientInfoSink& sink);
/// That the user chose to work on a small screen, by "ignoreSmallScreen.ini". Nothing otherwise.
void reportSmallScreen(ClientInfoSink& sink);
/// An item for each key of the configuration that hides or shows columns of a table.
void reportColumns(ClientInfoSink& sink);
/// Whether the user logs in without typing the password.
void reportLogin(ClientInfoSink& sink);
