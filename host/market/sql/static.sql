-- The client's static database; host/platform/README.md describes its layout.
CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID;

CREATE TABLE static_cfg(
    section TEXT NOT NULL,
    key TEXT NOT NULL,
    value TEXT NOT NULL,
    PRIMARY KEY(section, key)) WITHOUT ROWID;

CREATE TABLE reference(
    kind TEXT NOT NULL,
    symbol TEXT NOT NULL,
    record TEXT NOT NULL,
    PRIMARY KEY(kind, symbol)) WITHOUT ROWID;
