#pragma once

// Byte order of binary values in an encoding.
enum Dicom_Endianity { DICOM_LITTLE_ENDIAN = 0, DICOM_BIG_ENDIAN = 1 };
