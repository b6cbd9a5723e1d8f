#include "qmx/qmxPipeBase.h"

QMXPipeBase::QMXPipeBase() = default;
QMXPipeBase::QMXPipeBase(QMXPipeBase const& other) = default;
QMXPipeBase& QMXPipeBase::operator=(QMXPipeBase const& other) = default;
QMXPipeBase::~QMXPipeBase() = default;
