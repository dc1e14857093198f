vela_tests(vela-tests-security USES vela_test_storage SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/SecurityEmbeddedTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SecurityQueriesTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SecuritySecretServiceTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SecurityUnluckyTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SystemCallFaults.cpp)
target_link_libraries(vela-tests-security PRIVATE SQLite::SQLite3)
target_include_directories(vela-tests-security SYSTEM PRIVATE ${libsecret_INCLUDE_DIRS})
vela_tests(vela-tests-urlsession USES vela_test_storage vela_test_programs SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/SecureServer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionCredentialsTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionOnceTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionProxiesTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionWorkTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionRequestsTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionRedirectsTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionFaultsTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionLifetimeTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionTLSTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/URLSessionWholeResourceTest.cpp)
target_link_libraries(vela-tests-urlsession PRIVATE CURL::libcurl OpenSSL::SSL OpenSSL::Crypto ZLIB::ZLIB ${CMAKE_DL_LIBS})
vela_tests(vela-tests-userdefaults USES vela_test_storage SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/TrustedFolderTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/UserDefaultsTest.cpp)
target_link_libraries(vela-tests-userdefaults PRIVATE Boost::json)
