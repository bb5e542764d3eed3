#include "qt/invocation/VRNAccelerometerShake.h"

#include <QAccelerometer>

#include "qt/invocation/VRNMotionListener.h"

namespace vorna {

VRNAccelerometerShake::VRNAccelerometerShake(QObject* parent) : QObject(parent) {}

bool VRNAccelerometerShake::start() {
    if (sensor_) {
        return sensor_->isActive();
    }
    QByteArray identifier;
    for (const QByteArray& candidate : QSensor::sensorsForType(QAccelerometer::sensorType)) {
        if (!candidate.startsWith("dummy")) {
            identifier = candidate;
            break;
        }
    }
    if (identifier.isEmpty()) {
        return false;
    }
    auto* sensor = new QAccelerometer(this);
    sensor->setIdentifier(identifier);
    sensor->setAccelerationMode(QAccelerometer::Combined);
    if (!sensor->connectToBackend() || !sensor->start() || !sensor->isActive()) {
        delete sensor;
        return false;
    }
    sensor_ = sensor;
    connect(sensor_, &QAccelerometer::readingChanged, this, &VRNAccelerometerShake::reading);
    return true;
}

bool VRNAccelerometerShake::isActive() const {
    return sensor_ && sensor_->isActive();
}

void VRNAccelerometerShake::reading() {
    const QAccelerometerReading* r = sensor_->reading();
    if (!r) {
        return;
    }
    // Reading timestamps are microseconds on the sensor's own steady clock.
    const double seconds = static_cast<double>(r->timestamp()) / 1e6;
    if (detector_.addReading(seconds, r->x(), r->y(), r->z())) {
        VRNMotionListener::deliverShake();
    }
}

}  // namespace vorna
