-- The history of one account. Everything about an order depends on its number n: its day, its time,
-- its outcome (ten in turn: one cancelled, one rejected, one partly cancelled, the others filled in
-- one to four parts) and, by the hash h of n and the account's number, what is ordered.
-- Prices are counted in ten-thousandths of a yuan, so that all arithmetic is in whole numbers.
CREATE TEMP TABLE part(k INTEGER PRIMARY KEY);
INSERT INTO part VALUES(0), (1), (2), (3), (4);

CREATE TEMP TABLE trade_day(i INTEGER PRIMARY KEY, trade_date INTEGER, midnight INTEGER);

CREATE TEMP TABLE pool(
    i INTEGER PRIMARY KEY, exchange TEXT, security_id TEXT, close INTEGER, tick INTEGER);

CREATE TEMP TABLE draft(
    n INTEGER PRIMARY KEY,
    trade_date INTEGER,
    order_no TEXT,
    kind INTEGER,
    deals INTEGER,
    cancelled INTEGER,
    exchange TEXT,
    security_id TEXT,
    security_account TEXT,
    side TEXT,
    is_market INTEGER,
    qty INTEGER,
    cum INTEGER,
    price INTEGER,
    deal_price INTEGER,
    time INTEGER);
