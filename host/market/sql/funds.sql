-- What the daily funds are computed from. All amounts are in fen, prices in ten-thousandths of a
-- yuan.
CREATE TEMP TABLE quote(
    exchange TEXT,
    security_id TEXT,
    price INTEGER,
    PRIMARY KEY(exchange, security_id)) WITHOUT ROWID;

-- At the end of the last day.
CREATE TEMP TABLE fund_end(trading_account TEXT PRIMARY KEY, cash INTEGER, value INTEGER)
    WITHOUT ROWID;

CREATE TEMP TABLE flow(
    trading_account TEXT,
    trade_date INTEGER,
    deals INTEGER,
    bought INTEGER,
    sold INTEGER,
    fee INTEGER,
    value_change INTEGER,
    PRIMARY KEY(trading_account, trade_date)) WITHOUT ROWID;
