#include "orbuint/orbuintSingletonOrder.h"

#include "orbuint/orbuintResHandler.h"
#include "orbulog/orbuLogger.h"

COrbuIntSingletonOrder::COrbuIntSingletonOrder() {
    COrbuIntResHandler::instance();
    OrbuLogger::instance_m();
}
