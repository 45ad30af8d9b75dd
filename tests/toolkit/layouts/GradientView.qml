import QtQuick

// A layout whose root is not the class it is named after.
Item {
}
