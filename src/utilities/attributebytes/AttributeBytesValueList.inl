// The value classes: wire tag, enumerator, class, and the shape of the payload: bytes of fixed width, then what follows
// them (a ShapeTail of detail/RecordScan.h).  The one list that generates the enumeration, its names, the factory and
// the scanner.  Define VLM_ATTRIBUTE_VALUE before including; it is undefined at the end.
VLM_ATTRIBUTE_VALUE(2, ABVTE_OPTION, AttributeBytesOptionValue, 0, Identifier)
VLM_ATTRIBUTE_VALUE(3, ABVTE_INTEGER, AttributeBytesIntegerValue, 4, None)
VLM_ATTRIBUTE_VALUE(4, ABVTE_STRING, AttributeBytesStringValue, 0, Text)
VLM_ATTRIBUTE_VALUE(5, ABVTE_BOOLEAN, AttributeBytesBooleanValue, 1, None)
VLM_ATTRIBUTE_VALUE(6, ABVTE_RANGE, AttributeBytesRangeValue, 8, None)
VLM_ATTRIBUTE_VALUE(7, ABVTE_RANGEOFDIMENSION, AttributeBytesRangeOfDimensionValue, 8, None)
VLM_ATTRIBUTE_VALUE(8, ABVTE_DIMENSION, AttributeBytesDimensionValue, 4, None)
VLM_ATTRIBUTE_VALUE(9, ABVTE_RESOLUTION, AttributeBytesResolutionValue, 10, None)
VLM_ATTRIBUTE_VALUE(10, ABVTE_DATABLOB, AttributeBytesDataBlobValue, 0, Bytes)
VLM_ATTRIBUTE_VALUE(11, ABVTE_LIST, AttributeBytesListValue, 1, List)
VLM_ATTRIBUTE_VALUE(12, ABVTE_DATETIME, AttributeBytesDateTimeValue, 8, None)
#undef VLM_ATTRIBUTE_VALUE
