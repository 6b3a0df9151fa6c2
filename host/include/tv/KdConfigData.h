// The Host's configuration data: named numbers and texts kept per user.
#pragma once

#include "KdExport.h"
#include "KdString.h"
#include "KdadStatus.h"

#include <cstdint>
#include <string>

/// Named configuration values. Numbers of 16 and 32 bits share one kind of storage (a 32-bit
/// value; a 16-bit one is sign-extended), so a value written as either can be read as a 32-bit
/// number, and as a 16-bit one while it fits. Names ignore case.
class TVHOST_API KdConfigDataManager {
public:
    /// The key below HKEY_CURRENT_USER that holds the values.
    static std::wstring keyPath();

    /// eOk, eInvalidInput for a null or empty name, eKeyNotFound when the value is missing,
    /// eWrongObjectType when it holds another kind of value (or a number out of range).
    /// `value` is left alone unless the result is eOk.
    Kdad::ErrorStatus getValue(const wchar_t* name, std::int16_t& value) const;
    Kdad::ErrorStatus getValue(const wchar_t* name, std::int32_t& value) const;
    Kdad::ErrorStatus getValue(const wchar_t* name, KdString& value) const;

    /// eOk, eInvalidInput for a null or empty name (or a null text), eFileAccessErr when the
    /// store refuses the write. A value of another kind is replaced.
    Kdad::ErrorStatus setValue(const wchar_t* name, std::int16_t value);
    Kdad::ErrorStatus setValue(const wchar_t* name, std::int32_t value);
    Kdad::ErrorStatus setValue(const wchar_t* name, const wchar_t* value);

    /// eOk, eInvalidInput, or eKeyNotFound when there was no such value.
    Kdad::ErrorStatus removeValue(const wchar_t* name);
};

/// The Host's configuration data manager; never null.
TVHOST_API KdConfigDataManager* getConfigDataManager();
