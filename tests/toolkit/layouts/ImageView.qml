import QtQuick

Item {
    width: 10
    undefinedProperty: 3
}
