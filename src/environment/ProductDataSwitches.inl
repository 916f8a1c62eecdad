// The switches of a model: VLM_PRODUCT_SWITCH(question, what is on when true, key, rule).
// Rules: Exact is "YES"; Lower is any letter case of "yes"; Either is "YES" or "yes".  Deliberate: the rules differ,
// and map files rely on each.
VLM_PRODUCT_SWITCH(IsSEFOnlyProduct, "takes media short edge first only", "SEFPRODUCT", Exact)
VLM_PRODUCT_SWITCH(IsModelRequireDriverCollation, "needs the driver to collate", "MODELREQDRVCOLLATE", Exact)
VLM_PRODUCT_SWITCH(IsJobTrackerTroubleshootingSupported, "can be helped by the job tracker",
                   "SUPPORTSJOBTRACKERTROUBLESHOOTING", Exact)
VLM_PRODUCT_SWITCH(IsDriverCollationSupported, "lets the driver collate", "DRIVERCOLLATION", Lower)
VLM_PRODUCT_SWITCH(AllowColorChangeOnDoc, "lets a document change the colour mode", "ALLOWCOLORCHANGEONDOC", Either)
VLM_PRODUCT_SWITCH(IsMediaTypeInTraysAllowed, "knows the media types of its trays", "ALLOWMEDIATYPEINTRAYS", Either)
VLM_PRODUCT_SWITCH(UsesSamsungAPI, "is spoken to by the other maker's interface", "USESSAMSUNGAPI", Either)
VLM_PRODUCT_SWITCH(SupportsDeviceFonts, "has fonts of its own", "DEVICEFONTS", Either)
VLM_PRODUCT_SWITCH(IsFaxCapable, "sends faxes", "LANFAX", Either)
VLM_PRODUCT_SWITCH(DoesPCLSupport4MMMargins, "prints up to 4 mm from the edge in PCL", "PCL4MMMARGINS", Either)
VLM_PRODUCT_SWITCH(SupportsCloudPrinting, "prints from the cloud", "CLOUDPRINTING", Either)
VLM_PRODUCT_SWITCH(SupportsDeviceAddressBook, "has an address book", "DEVICEADDRESSBOOK", Either)
VLM_PRODUCT_SWITCH(IsPcl5XcptCmdReorderRequired, "needs the commands of PCL 5 exceptions in another order",
                   "PCL5XCPTCMDREORDER", Either)
VLM_PRODUCT_SWITCH(IsHideAccountType, "does not show the type of an account", "HIDEACCOUNTTYPE", Either)
VLM_PRODUCT_SWITCH(IsHideGroupAccount, "does not show group accounts", "HIDEGROUPACCOUNT", Either)
VLM_PRODUCT_SWITCH(IsMediaLefOnly, "puts two staples only into media long edge first", "LEFONLYTWOSTAPLE", Either)
VLM_PRODUCT_SWITCH(IsShowEnvelopeWarning, "warns about envelopes", "SHOWWARNINGDIALOG", Either)
VLM_PRODUCT_SWITCH(IsHighSpeed300Set, "prints fast at 300 dpi", "SETHIGHSPEED300", Either)
VLM_PRODUCT_SWITCH(IsHighQuality300Set, "prints well at 300 dpi", "SETHIGHQUALITY300", Either)
VLM_PRODUCT_SWITCH(IsHighResolution1200Set, "prints at 1200 dpi", "SETHIGHRESOLUTION1200", Either)
