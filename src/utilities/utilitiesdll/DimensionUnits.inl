// The units of a Dimension: code, name, factor to thousandths of a millimetre, display name.
// clang-format off
VLM_DIMENSION_UNIT( 0, INCHES,                   25400.0,            "[Inches]")
VLM_DIMENSION_UNIT( 1, TENTHS_OF_INCHES,         2540.0,             "[10ths of Inches]")
VLM_DIMENSION_UNIT( 2, HUNDREDTHS_OF_INCHES,     254.0,              "[100ths of Inches]")
VLM_DIMENSION_UNIT( 3, THOUSANDTHS_OF_INCHES,    25.4,               "[1,000ths of Inches]")
VLM_DIMENSION_UNIT( 4, TENTHOUSANDTHS_OF_INCHES, 2.54,               "[10,000ths of Inches]")
VLM_DIMENSION_UNIT( 5, MM,                       1000.0,             "[MMs]")
VLM_DIMENSION_UNIT( 6, TENTHS_OF_MM,             100.0,              "[10ths of MMs]")
VLM_DIMENSION_UNIT( 7, HUNDREDTHS_OF_MM,         10.0,               "[100ths of MMs]")
VLM_DIMENSION_UNIT( 8, THOUSANDTHS_OF_MM,        1.0,                "[1,000ths of MMs]")
VLM_DIMENSION_UNIT( 9, POINTS,                   352.77777777777777, "[Pts]")
VLM_DIMENSION_UNIT(10, TENTHS_OF_POINTS,         35.27777777777778,  "[10ths of Pts]")
VLM_DIMENSION_UNIT(11, HUNDREDTHS_OF_POINTS,     3.5277777777777777, "[100ths of Pts]")
VLM_DIMENSION_UNIT(12, DIUS,                     264.5833333333333,  "[DIUs]")
VLM_DIMENSION_UNIT(13, TENTHS_OF_DIUS,           26.458333333333332, "[10ths of DIUs]")
// clang-format on
