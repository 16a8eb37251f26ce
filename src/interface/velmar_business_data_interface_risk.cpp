#include "core.h"
#include "first_load.h"
#include "presenter_use.h"
#include "symbol_risk_flags.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"

bool VelmarBusinessDataInterface::CheckSymbolRiskInfo(const QStringList& symbols,
                                                      const QString& moduleName) {
    return core().riskFlags().CheckSymbolRiskInfo(symbols, moduleName);
}

int VelmarBusinessDataInterface::GetScienTechGrowFlagBySymbol(const QString& symbol) {
    return core().riskFlags().GetScienTechGrowFlagBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetSymbolStType(const QString& symbol, QString& text) {
    return core().riskFlags().GetSymbolStType(symbol, text);
}

void VelmarBusinessDataInterface::InitKeyMonitorSymbols() {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    core().riskFlags().InitKeyMonitorSymbols(use.presenter());
}

void VelmarBusinessDataInterface::InitSymbolRiskTypeInfo() {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    core().riskFlags().InitSymbolRiskTypeInfo(use.presenter());
}

bool VelmarBusinessDataInterface::IsSymbolBreakingIssuePrice(const QString& symbol) {
    return core().riskFlags().IsSymbolBreakingIssuePrice(symbol);
}

bool VelmarBusinessDataInterface::IsSymbolBrokenNetPrice(const QString& symbol) {
    return core().riskFlags().IsSymbolBrokenNetPrice(symbol);
}

bool VelmarBusinessDataInterface::IsSymbolInST(const QString& symbol) {
    return core().riskFlags().IsSymbolInST(symbol);
}

bool VelmarBusinessDataInterface::IsSymbolKeyMonitor(const QString& symbol) {
    return core().riskFlags().IsSymbolKeyMonitor(symbol);
}
