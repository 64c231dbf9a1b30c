// SPDX-License-Identifier: MIT
#pragma once

class QByteArray;

// The same JSON text for QJsonDocument, without the arrays and objects that it would lose. When a key comes
// again in an object, Qt 5's parser drops the earlier value, and never releases one that has elements; a unit
// that sends such texts would use up the memory. They are overwritten by a zero and blanks, so that the
// parser has the same result, error and offset. Other texts come back as they are, and not copied.
QByteArray withoutRepeatedContainers(const QByteArray& json);
