-- The server's store of a market. Rows of `meta`: see sealed_database.h.
CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID;

CREATE TABLE login(
    user_id TEXT PRIMARY KEY,
    user_name TEXT NOT NULL,
    user_type TEXT NOT NULL,
    user_status TEXT NOT NULL,
    organ_code TEXT NOT NULL,
    salt TEXT NOT NULL,
    password_hash TEXT NOT NULL) WITHOUT ROWID;

CREATE TABLE investor(
    investor_account TEXT PRIMARY KEY,
    name TEXT NOT NULL) WITHOUT ROWID;

CREATE TABLE product(
    product_account TEXT PRIMARY KEY,
    investor_account TEXT NOT NULL REFERENCES investor,
    name TEXT NOT NULL) WITHOUT ROWID;

CREATE TABLE asset_account(
    asset_account TEXT PRIMARY KEY,
    product_account TEXT NOT NULL REFERENCES product,
    name TEXT NOT NULL) WITHOUT ROWID;

-- An account, its position in the tree (seq), and its binding at the counter.
CREATE TABLE trading_account(
    seq INTEGER PRIMARY KEY,
    trading_account TEXT NOT NULL UNIQUE,
    asset_account TEXT NOT NULL REFERENCES asset_account,
    name TEXT NOT NULL,
    seat_no TEXT NOT NULL,
    invest_type TEXT NOT NULL,
    asset_account_list TEXT NOT NULL,
    user_type TEXT NOT NULL,
    organ_code TEXT NOT NULL,
    fund_account TEXT NOT NULL,
    fund_account_type TEXT NOT NULL,
    counter_account_name TEXT NOT NULL,
    ext_counter_code TEXT NOT NULL,
    client_no TEXT NOT NULL,
    ext_node_no TEXT NOT NULL,
    branch_no INTEGER NOT NULL,
    ext_org_code TEXT NOT NULL,
    pass_status TEXT NOT NULL,
    otc_fund_account TEXT NOT NULL,
    counter_site_type INTEGER NOT NULL,
    account_status TEXT NOT NULL);

-- Which accounts a login sees, and what it may do there; the types are joined with ",".
CREATE TABLE account_authority(
    user_id TEXT NOT NULL REFERENCES login,
    trading_account TEXT NOT NULL REFERENCES trading_account(trading_account),
    authority_types TEXT NOT NULL,
    PRIMARY KEY(user_id, trading_account)) WITHOUT ROWID;

-- The account's record contains the one at position 0.
CREATE TABLE security_account(
    trading_account TEXT NOT NULL REFERENCES trading_account(trading_account),
    position INTEGER NOT NULL,
    exchange TEXT NOT NULL,
    security_account TEXT NOT NULL,
    is_main TEXT NOT NULL,
    PRIMARY KEY(trading_account, position)) WITHOUT ROWID;

-- Dates below are whole numbers yyyymmdd, times milliseconds since 1970-01-01 00:00 UTC. Tables of
-- an account's past are kept in the order in which they are paged: account, day, order.

-- Orders and, with entrust_type 'F', requests to cancel one (order_id is the request's own then,
-- orig_order_id that of the order). order_type is '1' at market, '2' with a limit; the codes of
-- order_status are those of order_status.h.
CREATE TABLE history_order(
    trading_account TEXT NOT NULL,
    trade_date INTEGER NOT NULL,
    order_id TEXT NOT NULL,
    orig_order_id TEXT NOT NULL,
    cl_ord_id TEXT NOT NULL,
    entrust_type TEXT NOT NULL,
    security_account TEXT NOT NULL,
    security_exchange TEXT NOT NULL,
    security_id TEXT NOT NULL,
    side TEXT NOT NULL,
    order_type TEXT NOT NULL,
    price_type TEXT NOT NULL,
    order_status TEXT NOT NULL,
    order_qty INTEGER NOT NULL,
    order_price REAL NOT NULL,
    cum_qty INTEGER NOT NULL,
    avg_px REAL NOT NULL,
    cancelled_qty INTEGER NOT NULL,
    transact_time INTEGER NOT NULL,
    text_description TEXT NOT NULL,
    PRIMARY KEY(trading_account, trade_date, order_id)) WITHOUT ROWID;

-- Deals ('0') and reports that a rest was cancelled: by the exchange with exchange_exec_type '4', by
-- the counter, which the order had not left yet, with 'I'.
CREATE TABLE history_deal(
    trading_account TEXT NOT NULL,
    trade_date INTEGER NOT NULL,
    order_id TEXT NOT NULL,
    exec_id TEXT NOT NULL,
    security_account TEXT NOT NULL,
    security_exchange TEXT NOT NULL,
    security_id TEXT NOT NULL,
    side TEXT NOT NULL,
    exchange_exec_type TEXT NOT NULL,
    exchange_exec_stat TEXT NOT NULL,
    last_qty INTEGER NOT NULL,
    last_px REAL NOT NULL,
    last_amount REAL NOT NULL,
    execution_commission REAL NOT NULL,
    transact_time INTEGER NOT NULL,
    PRIMARY KEY(trading_account, trade_date, order_id, exec_id)) WITHOUT ROWID;

-- Rows of both tables by account and day, so that totals and pages need no walk over the rows:
-- orders and, of these, requests to cancel; deals and, of these, the reports of both kinds; and how
-- many pairs of a security and a side have deals. No row of a day with none of them.
CREATE TABLE history_day(
    trading_account TEXT NOT NULL,
    trade_date INTEGER NOT NULL,
    orders INTEGER NOT NULL,
    deals INTEGER NOT NULL,
    cancel_requests INTEGER NOT NULL,
    cancel_reports INTEGER NOT NULL,
    inner_cancels INTEGER NOT NULL,
    deal_groups INTEGER NOT NULL,
    PRIMARY KEY(trading_account, trade_date)) WITHOUT ROWID;

-- At the end of the last day of the history.
CREATE TABLE position(
    trading_account TEXT NOT NULL REFERENCES trading_account(trading_account),
    security_exchange TEXT NOT NULL,
    security_id TEXT NOT NULL,
    security_account TEXT NOT NULL,
    nominal_qty INTEGER NOT NULL,
    oms_average_cost REAL NOT NULL,
    PRIMARY KEY(trading_account, security_exchange, security_id)) WITHOUT ROWID;

-- The money of an account at the beginning of the day, in yuan.
CREATE TABLE opening_cash(
    trading_account TEXT PRIMARY KEY REFERENCES trading_account(trading_account),
    cash REAL NOT NULL) WITHOUT ROWID;

-- The messages that a login gets on each day; second_of_day is the time at the exchanges. An empty
-- text is a field that the message does not have.
CREATE TABLE daily_message(
    user_id TEXT NOT NULL REFERENCES login,
    seq INTEGER NOT NULL,
    second_of_day INTEGER NOT NULL,
    msg_level TEXT NOT NULL,
    msg_type TEXT NOT NULL,
    msg_sub_type TEXT NOT NULL,
    trading_account TEXT NOT NULL,
    product_account TEXT NOT NULL,
    item_name TEXT NOT NULL,
    item_value TEXT NOT NULL,
    text_description TEXT NOT NULL,
    PRIMARY KEY(user_id, seq)) WITHOUT ROWID;

-- Clients fetch data of a key again when its version is higher than theirs.
CREATE TABLE data_version(
    seq INTEGER PRIMARY KEY,
    data_key TEXT NOT NULL UNIQUE,
    data_version INTEGER NOT NULL);

-- Notices of shares; the flags are 0 or 1, delist_date is yyyymmdd, empty without a delisting.
CREATE TABLE risk_notice(
    seq INTEGER PRIMARY KEY,
    security_id TEXT NOT NULL,
    security_exchange TEXT NOT NULL,
    st_flag INTEGER NOT NULL,
    delist_flag INTEGER NOT NULL,
    delist_date TEXT NOT NULL,
    remind_info TEXT NOT NULL);

-- Securities by type of risk: 1 below the issue price, 2 below the net asset value.
CREATE TABLE risk_type(
    seq INTEGER PRIMARY KEY,
    security_id TEXT NOT NULL,
    security_exchange TEXT NOT NULL,
    risk_flag_type INTEGER NOT NULL);

-- The securities that a login watches; some by their symbol alone.
CREATE TABLE key_monitor(
    user_id TEXT NOT NULL REFERENCES login,
    seq INTEGER NOT NULL,
    security_id TEXT NOT NULL,
    security_exchange TEXT NOT NULL,
    symbol TEXT NOT NULL,
    PRIMARY KEY(user_id, seq)) WITHOUT ROWID;

-- All menus in the order of seq; menu_position is JSON, a plug-in or a list of plug-ins.
CREATE TABLE menu(
    menu_id TEXT PRIMARY KEY,
    seq INTEGER NOT NULL,
    menu_type TEXT NOT NULL,
    menu_caption TEXT NOT NULL,
    menu_position TEXT NOT NULL) WITHOUT ROWID;

CREATE TABLE user_menu(
    user_id TEXT NOT NULL REFERENCES login,
    menu_id TEXT NOT NULL REFERENCES menu,
    PRIMARY KEY(user_id, menu_id)) WITHOUT ROWID;

-- Trade days by kind of calendar; half_day is 1 for days with a morning session only.
CREATE TABLE trade_calendar(
    trade_day_type INTEGER NOT NULL,
    trade_date INTEGER NOT NULL,
    half_day INTEGER NOT NULL,
    PRIMARY KEY(trade_day_type, trade_date)) WITHOUT ROWID;

-- The price bands of Hong Kong by type of security (2 shares, 8 funds): the upper end, which belongs
-- to the band, and the minimum spread, both in dollars.
CREATE TABLE hong_kong_spread(
    security_type TEXT NOT NULL,
    up_to REAL NOT NULL,
    spread REAL NOT NULL,
    PRIMARY KEY(security_type, up_to)) WITHOUT ROWID;

-- The authority types, and the kind of account that each applies to.
CREATE TABLE authority_type(
    auth_type TEXT PRIMARY KEY,
    account_type TEXT NOT NULL) WITHOUT ROWID;

-- The values of the market; values that clients change are in the server's state.
CREATE TABLE authority_value(
    user_id TEXT NOT NULL REFERENCES login,
    auth_type TEXT NOT NULL REFERENCES authority_type,
    account TEXT NOT NULL,
    auth_value TEXT NOT NULL,
    PRIMARY KEY(user_id, auth_type, account)) WITHOUT ROWID;

-- The people of the organisations, among them the logins. Lists are in the order of the rows.
CREATE TABLE organ_user(
    user_id TEXT PRIMARY KEY,
    user_name TEXT NOT NULL,
    user_type TEXT NOT NULL,
    user_status TEXT NOT NULL,
    organ_code TEXT NOT NULL);

-- Who may trade on a product, trading or investor account; a user may be bound twice.
CREATE TABLE trader_binding(
    account_type TEXT NOT NULL,
    account TEXT NOT NULL,
    position INTEGER NOT NULL,
    user_id TEXT NOT NULL REFERENCES organ_user,
    PRIMARY KEY(account_type, account, position)) WITHOUT ROWID;

-- Money and securities of an account at the end of a day, in fen. An account has a row for each day
-- with deals, and one before its first day; a day without a row ends like the day before it.
--   balance = balance of the row before + sold - bought - fee + transfer
--   market_value = market value of the row before + value_change + value_transfer
-- value_change is what the day's deals changed, at closing prices. Both transfers are what came in
-- from outside, negative for what went out.
CREATE TABLE fund_day(
    trading_account TEXT NOT NULL REFERENCES trading_account(trading_account),
    trade_date INTEGER NOT NULL,
    deals INTEGER NOT NULL,
    bought INTEGER NOT NULL,
    sold INTEGER NOT NULL,
    fee INTEGER NOT NULL,
    transfer INTEGER NOT NULL,
    balance INTEGER NOT NULL,
    value_change INTEGER NOT NULL,
    value_transfer INTEGER NOT NULL,
    market_value INTEGER NOT NULL,
    PRIMARY KEY(trading_account, trade_date)) WITHOUT ROWID;

-- What margin accounts owe, in fen: money borrowed to buy and securities borrowed to sell. Interest
-- on both runs from `since` on, at a yearly rate in ten-thousandths.
CREATE TABLE margin_debt(
    trading_account TEXT PRIMARY KEY REFERENCES trading_account(trading_account),
    since INTEGER NOT NULL,
    financed INTEGER NOT NULL,
    shorted INTEGER NOT NULL,
    yearly_rate INTEGER NOT NULL) WITHOUT ROWID;

-- Patches of clients, by the version of the client that each is for. The file is relative to the
-- folder of this store; time_stamp is yyyyMMddHHmmss at the exchanges.
CREATE TABLE client_patch(
    patch_id TEXT PRIMARY KEY,
    file TEXT NOT NULL,
    remark TEXT NOT NULL,
    data_version TEXT NOT NULL,
    time_stamp TEXT NOT NULL) WITHOUT ROWID;

-- Configuration items with a description; some have a longer one too.
CREATE TABLE system_item(
    item_name TEXT PRIMARY KEY,
    item_value TEXT NOT NULL,
    description TEXT NOT NULL,
    long_description TEXT NOT NULL) WITHOUT ROWID;
