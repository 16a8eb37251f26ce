#pragma once

#include <functional>

#include "client.h"
#include "command_answer.h"
#include "facade_questions.h"
#include "interrupt_watch.h"
#include "progress_bar.h"
#include "shell_options.h"

// The client that a command brings up, and what all commands share: home, log, Ctrl-C, output.

enum ExitCode { Well = 0, Failed = 1, WrongUsage = 2 };

QString homeOf(const ShellOptions& options);
QString pluginsOf(const ShellOptions& options);
Client::Options clientOptions(const ShellOptions& options);

/// Takes the home folder and starts the log in it; prints why when it cannot.
ExitCode openHome(const ShellOptions& options);

/// The columns of the terminal on stdout. Output to a file or a pipe is not cut.
int columnsOfOutput();

/// Whether figures are drawn in place again and again: stdout is a terminal, and neither the log
/// nor the user's own plug-ins print lines in between.
bool drawsInPlace(const ShellOptions& options);

/// A client whose waits end with an interrupt.
struct WatchedClient {
    explicit WatchedClient(const Client::Options& options, const Client::Listener& listener = {});

    /// False when it did not start, with the reason printed.
    bool start();
    /// Calls functions of this client, which must outlive the result.
    FacadeAsk asking();

    Client client;
    InterruptWatch watch;
};

/// For commands whose stdout must contain nothing but the answer.
Client::Listener showOnStderr(ProgressBar& progress);

/// Prints why a command has no answer; Well when it has one.
ExitCode faultOf(const CommandAnswer& answer);
/// Prints an answer, as JSON if the options ask for it. Failed when it reports something wrong.
ExitCode printAnswer(const CommandAnswer& answer, const ShellOptions& options);

/// A command that asks a running client and prints one answer.
struct ClientQuestion {
    /// Works the answer out once the accounts are loaded.
    std::function<CommandAnswer(WatchedClient& watched)> answer;
    /// Changes the client's options; may be empty.
    std::function<void(Client::Options& options)> prepare{};
    /// Runs before the start, with the client's objects made; may be empty.
    std::function<void(WatchedClient& watched)> beforeStart{};
    /// Asks again every second until an interrupt, which is the normal end then, and prints each
    /// answer that differs from the last one.
    bool isFollowed = false;
};

/// Opens the home, brings the client up, asks, takes the client down and prints the answer. An
/// answer with an error or an interrupt is reported without printing the rest.
ExitCode runQuestion(const ShellOptions& options, const ClientQuestion& question);
