vela_tests(vela-tests-security USES vela_test_storage SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/SecurityEmbeddedTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SecurityQueriesTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SecuritySecretServiceTest.cpp)
target_link_libraries(vela-tests-security PRIVATE SQLite::SQLite3)
