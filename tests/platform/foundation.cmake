vela_tests(vela-tests-foundation
    USES platform_Date platform_Text platform_URL platform_ProcessInfo platform_Log platform_JSON platform_Bundle
        platform_Calendar platform_DateFormatter platform_RegularExpression platform_Device platform_WidgetKit
        vela_test_foundation ICU::i18n ICU::uc Boost::json
    SOURCES
        AmbientTest.cpp
        BoundedMemoryTest.cpp
        BundleTest.cpp
        CalendarTest.cpp
        DateFormatterTest.cpp
        DateTest.cpp
        DeviceTest.cpp
        ExpiringActivityTest.cpp
        FixedFormTest.cpp
        JSONSerializationTest.cpp
        LocaleWordsTest.cpp
        LoggerTest.cpp
        PosixLocaleTest.cpp
        ProcessInfoTest.cpp
        RegularExpressionTest.cpp
        SystemZoneTest.cpp
        TextTest.cpp
        TimeZoneTest.cpp
        URLTest.cpp
        WidgetFamilyTest.cpp)
