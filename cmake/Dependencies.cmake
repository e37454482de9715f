# What the library calls. docs/dependencies.md tells why.

find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto)
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
