// The identifier classes: wire tag, enumerator, class, and the shape of the payload: bytes of fixed width, then what
// follows them (a ShapeTail of detail/RecordScan.h).  The one list that generates the enumeration, its names, the
// factory and the scanner.  Define VLM_ATTRIBUTE_ID before including; it is undefined at the end.
VLM_ATTRIBUTE_ID(2, ABIDE_FEATURE, AttributeBytesFeatureId, 4, None)
VLM_ATTRIBUTE_ID(3, ABIDE_NEWFEATURE, AttributeBytesNewFeatureId, 0, Text)
VLM_ATTRIBUTE_ID(4, ABIDE_VALUE, AttributeBytesValueId, 4, None)
VLM_ATTRIBUTE_ID(5, ABIDE_NEWVALUE, AttributeBytesNewValueId, 0, Text)
VLM_ATTRIBUTE_ID(6, ABIDE_LISTOFVALUESITEM, AttributeBytesListOfValuesItemId, 4, None)
VLM_ATTRIBUTE_ID(7, ABIDE_CAPABILITY, AttributeBytesCapabilityId, 6, None)
VLM_ATTRIBUTE_ID(8, ABIDE_NEWCAPABILITY, AttributeBytesNewCapabilityId, 2, Text)
VLM_ATTRIBUTE_ID(9, ABIDE_NAMESPACE, AttributeBytesNameSpacesId, 4, None)
#undef VLM_ATTRIBUTE_ID
