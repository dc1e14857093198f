# Twins of the platform's stores and of its transport, for every test above them.
add_library(vela_test_storage STATIC
    ${CMAKE_CURRENT_LIST_DIR}/InMemoryItemStore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/InMemoryUserDefaults.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LoopbackServer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ScriptedItemStore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ScriptedURLSession.cpp)
target_include_directories(vela_test_storage PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(vela_test_storage
    PUBLIC vela_test_foundation platform_Security platform_UserDefaults platform_URLSession platform_URL platform_Asio Boost::headers Threads::Threads
    PRIVATE vela_warnings Boost::json)
