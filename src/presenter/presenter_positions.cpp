#include "velmar_business_data_manager_presenter_class.h"

// Positions: read again at intervals and when the neighbouring data plug-in reports a reload.

void VelmarBusinessDataManagerPresenterClass::slotInitPosData() {}
