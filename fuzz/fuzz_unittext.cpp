// SPDX-License-Identifier: MIT
// What a unit publishes: texts that are divided by zero bytes, to one unit after the other.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "fuzztarget.h"

namespace {
// As it is before its unit has spoken. Making one anew takes far longer than what is tried here.
void reset(Device* device)
{
    device->setQorName(QString());
    device->setIncompatible(false);
    device->setWarnings(QJsonArray());
    // Equal numbers would change nothing.
    for (const auto& number : { QStringLiteral("0"), QString() })
        device->updateVersionInfo(number, QString(), number, QString());
}
} // namespace

void tryInput(const QByteArray& input)
{
    static auto& list = *new DeviceList(nullptr);
    static Device* const device = list.addDevice(QString(), 1, 80, QStringLiteral("http"));
    reset(device);
    const QList<QByteArray> texts = input.split('\0');
    for (const QByteArray& text : texts) {
        device->processQorMessage(text);
        const QJsonArray messages = device->messages();
        // The state of the link comes first; every message has a class, whatever the unit says.
        require(!messages.isEmpty());
        for (const QJsonValue& message : messages)
            require(message.toObject().value(QStringLiteral("class")).isString());
        require(device->alert());
    }
}
