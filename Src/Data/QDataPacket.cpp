#include "QDataPacket.h"
