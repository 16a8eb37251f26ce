#pragma once

#include <QString>

/// The mark file of a home folder. It keeps the client from writing into folders that are not its
/// own, and a scenario from overwriting a user's home.
namespace HomeMark {

enum class Owner {
    Client,   ///< takes an empty or missing folder and every home
    Scenario  ///< takes an empty or missing folder and homes that a scenario made
};

enum class Outcome {
    Taken,
    Refused,    ///< the folder belongs to somebody else
    Unwritable  ///< it cannot be created or written
};

/// The name of the mark in a home folder.
QString fileName();

/// Makes the folder a home, creating it when missing, or confirms that it is one. A home of an
/// older version, which has settings/client.ini and market/ (or settings/ and market/market.sqlite)
/// and no mark, becomes a client's home. Unless it is taken, `error` gets a text for the user and
/// the folder stays untouched.
Outcome take(const QString& folder, Owner owner, QString* error);

/// Whether take() would refuse the folder because it contains somebody else's files. Writes
/// nothing.
bool isForeign(const QString& folder);

}  // namespace HomeMark
