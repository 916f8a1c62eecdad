// The settings of the debug messages, in the order in which they are bound and queried:
// VLM_SETTING(kind, registry value, default, getter, setter).
// The value names and their types stand in the registry of every machine that the library has run on: they never
// change. Deliberate: "SetShowTimeWithHuundredthsOfSecond" is spelled as its callers spell it.
VLM_SETTING(Number64, PerfSessionStartTime64, 0, GetDriverSessionStartTime, SetDriverSessionStartTime)
VLM_SETTING(Number64, PerfSessionStartTimeBeforeUtilitiesDll64, 0, GetDriverSessionStartTimeBeforeUtilitiesDll,
            SetDriverSessionStartTimeBeforeUtilitiesDll)
VLM_SETTING(Number64, PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64, 0,
            GetDriverSessionStartTimeBeforeUtilitiesDllAs64BitSYSTEMTIME,
            SetDriverSessionStartTimeBeforeUtilitiesDllAs64BitSYSTEMTIME)
VLM_SETTING(Number64, PerfLastOperationTime64, 0, GetPerfLastOperationTime, SetPerfLastOperationTime)
VLM_SETTING(Number64, PerfAccountedForTime64, 0, GetPerfAccountedForTime, SetPerfAccountedForTime)
VLM_SETTING(Switch, MessagesEnabled, false, IsMessagesEnabled, SetMessagesEnabled)
VLM_SETTING(Switch, XMsgMessagesEnabled, false, IsXMsgMessagesEnabled, SetXMsgMessagesEnabled)
VLM_SETTING(Switch, PerfMeasureEnabled, false, IsPerformanceMeasurementEnabled, SetPerformanceMeasurementEnabled)
VLM_SETTING(Switch, PerfShowXTimingOutput, true, IsShowPerformanceXTimingOutput, SetShowPerformanceXTimingOutput)
VLM_SETTING(Switch, PerfShowReport, false, IsShowPerformanceReport, SetShowPerformanceReport)
VLM_SETTING(Switch, PerfWriteReportToFile, false, IsWritePerformanceReportToFile, SetWritePerformanceReportToFile)
VLM_SETTING(Text, PerfReportFileName, VTEXT("C:\\Windows\\Temp\\KestrixPerformance.log"), GetPerformanceReportFileName,
            SetPerformanceReportFileName)
VLM_SETTING(Number, PerfMaxLevelInOutput, 255, GetMaxLevelInPerformanceOutput, SetMaxLevelInPerformanceOutput)
VLM_SETTING(Number, PerfMinMicroSecondsToDisplayInOutput, 5000, GetMinimumTimeToDisplayInPerformanceOutput,
            SetMinimumTimeToDisplayInPerformanceOutput)
VLM_SETTING(Number, PerfMaxMicroSecondsToOmitFromOutput, 50000, GetMaximumTimeToOmitFromPerformanceOutput,
            SetMaximumTimeToOmitFromPerformanceOutput)
VLM_SETTING(Number, PerfMaxLevelInReport, 255, GetMaxLevelInPerformanceReport, SetMaxLevelInPerformanceReport)
VLM_SETTING(Number, PerfMinMicroSecondsToDisplayInReport, 5000, GetMinimumTimeToDisplayInPerformanceReport,
            SetMinimumTimeToDisplayInPerformanceReport)
VLM_SETTING(Number, PerfMaxMicroSecondsToOmitFromReport, 50000, GetMaximumTimeToOmitFromPerformanceReport,
            SetMaximumTimeToOmitFromPerformanceReport)
VLM_SETTING(Switch, PerfShowDurationOfZero, true, IsShowPerformanceDurationsOfZero, SetShowPerformanceDurationsOfZero)
VLM_SETTING(Number, PerfSessionTimeOut, 2000, GetPerfDriverSessionTimeoutMilliseconds, SetPerfDriverSessionTimeout)
VLM_SETTING(Number, PerfGapSinceLastOpWithoutWarning, 50, GetPerfGapSinceLastOperationWithoutWarning,
            SetPerfGapSinceLastOperationWithoutWarning)
VLM_SETTING(Number, PerfUnaccountedForTimeInSubLevelWithoutWarning, 200,
            GetPerfUnaccountedForTimeInSubLevelWithoutWarning, SetPerfUnaccountedForTimeInSubLevelWithoutWarning)
VLM_SETTING(Switch, PerfShowStartScopeMsg, false, IsShowStartPerformanceScopeMsg, SetShowStartPerformanceScopeMsg)
VLM_SETTING(Switch, PerfIndentMsgsByLevel, true, IsIndentPerfMsgsByLevel, SetIndentPerfMsgsByLevel)
VLM_SETTING(Switch, DataModelInitMessagesEnabled, true, AreDataModelInitMessagesEnabled,
            SetDataModelInitMessagesEnabled)
VLM_SETTING(Switch, TracingEnabled, true, IsTracingEnabled, SetTracingEnabled)
VLM_SETTING(Switch, ShowMsgBoxOnThrow, true, IsShowMessageBoxOnExceptionThrow, SetShowMessageBoxOnExceptionThrow)
VLM_SETTING(Switch, MaintainSIDWCDescription, true, IsMaintainSettingIdWithContextDisplayString,
            SetMaintainSettingIdWithContextDisplayString)
VLM_SETTING(Switch, AlwaysReadConfig, false, IsAlwaysReadConfig, SetAlwaysReadConfig)
VLM_SETTING(Number, SeverityLevelFilter, 4, GetSeverityLevelFilter, SetSeverityLevelFilter)
VLM_SETTING(Number, WhichOutputOrder, 0, GetWhichOutputOrder, SetWhichOutputOrder)
VLM_SETTING(Number, MaxMessageWidth, 0, GetMaxMessageWidth, SetMaxMessageWidth)
VLM_SETTING(Switch, ShowFileName, false, IsShowFileName, SetShowFileName)
VLM_SETTING(Number, MinFilenameWidth, 24, GetMinFilenameWidth, SetMinFilenameWidth)
VLM_SETTING(Number, MaxFilenameWidth, 24, GetMaxFilenameWidth, SetMaxFilenameWidth)
VLM_SETTING(Switch, ShowLineNumber, false, IsShowLineNumber, SetShowLineNumber)
VLM_SETTING(Switch, ShowMethod, false, IsShowMethod, SetShowMethod)
VLM_SETTING(Number, MinMethodWidth, 40, GetMinMethodWidth, SetMinMethodWidth)
VLM_SETTING(Number, MaxMethodWidth, 40, GetMaxMethodWidth, SetMaxMethodWidth)
VLM_SETTING(Switch, ShowDate, false, IsShowDate, SetShowDate)
VLM_SETTING(Switch, ShowTime, false, IsShowTime, SetShowTime)
VLM_SETTING(Switch, TimeWithHundredthsOfSecond, false, IsShowTimeWithHundredthsOfSecond,
            SetShowTimeWithHuundredthsOfSecond)
VLM_SETTING(Switch, ShowProcessId, false, IsShowProcessId, SetShowProcessId)
VLM_SETTING(Switch, ShowProcessName, false, IsShowProcessName, SetShowProcessName)
VLM_SETTING(Switch, ShowModule, false, IsShowModule, SetShowModule)
VLM_SETTING(Switch, ShowCategories, false, IsShowCategories, SetShowCategories)
VLM_SETTING(Switch, BeepOnError, false, IsBeepOnError, SetBeepOnError)
VLM_SETTING(Switch, HighLightErrors, false, IsHighLightErrors, SetHighLightErrors)
VLM_SETTING(Switch, UseOutputDebugString, false, IsUseOutputDebugString, SetUseOutputDebugString)
VLM_SETTING(Switch, UseLogFile, false, IsUseLogFile, SetUseLogFile)
VLM_SETTING(Text, LogFileName, VTEXT("C:\\Windows\\Temp\\KestrixDebug.log"), GetLogFileName, SetLogFileName)
VLM_SETTING(Switch, UseMessageBox, false, IsUseMessageBox, SetUseMessageBox)
VLM_SETTING(Switch, UseXDebugPad, false, IsUseXDebugPad, SetUseXDebugPad)
VLM_SETTING(Switch, AllCategoriesRequired, false, AllCategoriesRequired, SetAllCategoriesRequired)
VLM_SETTING(Text, IncludedMsgCategories, VTEXT("all"), GetIncludedMsgCategories, SetIncludedMsgCategories)
VLM_SETTING(Text, ExcludedMsgCategories, VTEXT(""), GetExcludedMsgCategories, SetExcludedMsgCategories)
VLM_SETTING(Switch, ShowContext, false, IsShowContext, SetShowContext)
VLM_SETTING(Switch, ShowComputerName, false, IsShowComputerName, SetShowComputerName)
VLM_SETTING(Switch, CapValEnableValidation, true, IsEnableCapValidation, SetEnableCapValidation)
VLM_SETTING(Switch, CapValShowMessageBox, false, IsShowMessageBoxOnCapValidation, SetShowMessageBoxOnCapValidation)
VLM_SETTING(Switch, CapValIncludeReportInMessageBox, true, IsIncludeCapValidationReportInMessageBox,
            SetIncludeCapValidationReportInMessageBox)
VLM_SETTING(Switch, CapValPrinterInLogFileName, true, IsIncludePrinterNameInCapValidationReportFile,
            SetIncludePrinterNameInCapValidationReportFile)
VLM_SETTING(Switch, CapValAllowLogFileOverwrite, true, IsOverwriteOfCapValidationReportFileAllowed,
            SetOverwriteOfCapValidationReportFileAllowed)
VLM_SETTING(Switch, CapValWriteReportToLogFile, false, IsSendCapValidationReportToFile,
            SetSendCapValidationReportToFile)
VLM_SETTING(Text, CapValReportLogFileName, VTEXT("C:\\Windows\\Temp\\KestrixCapVal.log"),
            GetCapabilitiesValidationReportFileName, SetCapabilitiesValidationReportFileName)
VLM_SETTING(Switch, CapValDefWriteReportToLogFile, false, IsSendDefaultSettingsCapValidationReportToFile,
            SetSendDefaultSettingsCapValidationReportToFile)
VLM_SETTING(Text, CapValDefReportLogFileName, VTEXT("C:\\Windows\\Temp\\KestrixCapValDefaults.log"),
            GetDefaultSettingsCapabilitiesValidationReportFileName,
            SetDefaultSettingsCapabilitiesValidationReportFileName)
VLM_SETTING(Switch, ReportPossibleConstraintProblems, false, IsConstraintProblemAlertOn,
            SetConstraintProblemSummaryLogging)
