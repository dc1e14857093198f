# The views and what draws them. A target of its own: a process that only asks for timelines links no fonts.
vela_room(widget_views
    USES widget platform_drawing
    SOURCES
        AccessoryInlinePackage.cpp
        AccessoryRectangularPackage.cpp
        AppIcon.cpp
        EntryDrawing.cpp
        LargePackage.cpp
        MediumPackage.cpp
        NetworkImage.cpp
        NoPackage.cpp
        PackageBody.cpp
        ProgressBar.cpp
        Prompt.cpp
        ScaledPictures.cpp
        SignIn.cpp
        SmallPackage.cpp
        StyledText.cpp
        TrackingWidgetEntryView.cpp
        WidgetImageSize.cpp)
