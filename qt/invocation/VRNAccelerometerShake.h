#pragma once

#include <QObject>

#include "qt/invocation/VRNAccelerometerShakeDetector.h"

class QAccelerometer;

namespace vorna {

// Shakes from the device's accelerometer, where there is a real one: each shake the detector
// recognises is delivered to the key window as a motion event. Qt's test backend (the "dummy"
// sensor) does not count as a real sensor, and neither does a backend that will not start.
class VRNAccelerometerShake : public QObject {
    Q_OBJECT

public:
    explicit VRNAccelerometerShake(QObject* parent = nullptr);

    // Looks for a real accelerometer and starts reading it; false when there is none.
    bool start();
    bool isActive() const;

private:
    void reading();

    QAccelerometer* sensor_ = nullptr;
    VRNAccelerometerShakeDetector detector_;
};

}  // namespace vorna
