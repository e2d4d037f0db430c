// POSITION: the opaque, pointer-sized cursor of the MFC-like lists and maps. In a
// CPtrList it is a coded index; in a map it is the address of the node of an entry.
#pragma once

struct Fnd_Position_Tag;
typedef Fnd_Position_Tag* POSITION;
