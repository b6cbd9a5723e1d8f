// The common root of what the pipe transport is made of: packets, devices, endpoints, conduits, sessions and
// facilities. It adds nothing to QMXBase, whose rules hold.
#pragma once

#include "qmx/qmxBase.h"

class ORBU_EXPORT QMXPipeBase : public QMXBase {
public:
    QMXPipeBase();
    QMXPipeBase(QMXPipeBase const& other);
    QMXPipeBase& operator=(QMXPipeBase const& other);
    ~QMXPipeBase() override;
};
