#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// An order with the fields that its message has.
struct PlainOrder {
    std::string account;
    std::string securityAccount;
    std::string exchange;
    std::string securityID;
    std::string clientMsgID;
    std::string clOrdID;
    std::string priceType;
    std::string side;
    std::string orderType;
    std::string instruction;
    std::string flowType;
    std::string station;
    double quantity = 0;
    double price = 0;
    std::string maxPriceLevels;
    std::string minQty;
    std::string timeInForce;
    std::string transactTime;
};

/// Creates a NewOrderSingle of every order and serialises it, with the library that the machine's
/// package manager provides. Returns the bytes of all texts.
std::size_t serialiseWithQuickFix(const std::vector<PlainOrder>& orders);
