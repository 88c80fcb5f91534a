#include "scan/DragDropNotifier.h"

DragDropNotifier* DragDropNotifier::instance()
{
    static DragDropNotifier* notifier = new DragDropNotifier;
    return notifier;
}
