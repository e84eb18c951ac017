#include "framework/registration.h"

namespace registration_detail {

unsigned long long NonNegativeIndex(void const* index) {
    integer number = Value<integer>(index);
    if (number < 0) {
        throw NoSuchObject();
    }
    return static_cast<unsigned long long>(number);
}

} // namespace registration_detail

TypeRegistrationBlock::TypeRegistrationBlock(char const* name, unsigned long valueSize,
                                             DestroyFunction destroy, char const* baseName) {
    Register_Type(block_, kTypeBlockSize, name, valueSize, destroy, baseName, 0);
}

TypeRegistrationBlock::~TypeRegistrationBlock() {
    Unregister_Type(block_);
}

PropertyRegistrationBlock::PropertyRegistrationBlock(
    char const* phrase, char const* plural, char const* indexType, char const* objectType,
    char const* resultType, unsigned long stateSize, ConstructFunction construct,
    DestroyFunction destroy, PropertyThunk first, PropertyThunk next, void* userData,
    FingerprintFunction fingerprint) {
    Register_Iterated_Property(block_, kPropertyBlockSize, phrase, plural, indexType, objectType,
                               resultType, stateSize, construct, destroy, first, next, userData,
                               fingerprint);
}

PropertyRegistrationBlock::PropertyRegistrationBlock(char const* phrase, char const* plural,
                                                     char const* indexType, char const* objectType,
                                                     char const* resultType, PropertyThunk get,
                                                     void* userData,
                                                     FingerprintFunction fingerprint) {
    Register_Property(block_, kPropertyBlockSize, phrase, plural, indexType, objectType, resultType,
                      get, userData, fingerprint);
}

PropertyRegistrationBlock::~PropertyRegistrationBlock() {
    Unregister_Property(block_);
}
