#include "first_load.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"

int VelmarBusinessDataInterface::GetTorviEventMsgIdByStr(const QString& name) {
    InitVelmarBusinessManagePlugin();
    return s_presenter ? VelmarUtils::GetTorviEventMsgIdByStr(name) : 0;
}
