#pragma once
// Typed readers over a CfoNode. Each looks `key` up among the node's children (first
// match). When the key is absent the reader returns false and leaves `out` alone, so the
// usual way to give a setting a default is to set the variable and then read it.
// A present key always returns true, whatever the text converts to.
//
// Conversions follow the C library: integers as atoi (leading blanks, a sign, digits,
// the rest ignored; 0 for no digits), floats as (float)atof: the double rounded to the
// nearest float, so "3.4028235e38" is the largest float, not infinity. Vectors are comma
// lists: a token ends at ",", backspace (8) or newline (10); empty tokens are skipped;
// components no token reaches stay 0.

#include <cstdint>
#include <string>

#include "cfo/cfokeys.h"
#include "math/hvector2.h"
#include "math/hvector3.h"

class CfoNode;

bool CfoReadBool(const CfoNode* node, const std::string& key, bool& out);  // atoi > 0
bool CfoReadInt(const CfoNode* node, const std::string& key, int32_t& out);
bool CfoReadUInt(const CfoNode* node, const std::string& key, uint32_t& out);
bool CfoReadFloat(const CfoNode* node, const std::string& key, float& out);
bool CfoReadString(const CfoNode* node, const std::string& key, std::string& out);
bool CfoReadVector2(const CfoNode* node, const std::string& key, HVector2& out);
bool CfoReadVector3(const CfoNode* node, const std::string& key, HVector3& out);

// The conversions on their own, for readers of table rows.
int32_t CfoAtoi(const std::string& text);
// A comma list of two floats, read exactly as CfoReadVector2 reads a key's value (a token
// ends at ",", backspace or newline; empty tokens are skipped; missing components are 0).
// For vectors written as node names, such as hull vertices.
HVector2 CfoParseVector2(const std::string& text);
float CfoAtof(const std::string& text);

// The same readers through an entry of a class's key table (cfo/cfokeys.h); the entry's type
// must suit the reader (a file is read as a string).
bool CfoReadBool(const CfoNode* node, const CfoKey& key, bool& out);
bool CfoReadInt(const CfoNode* node, const CfoKey& key, int32_t& out);
bool CfoReadUInt(const CfoNode* node, const CfoKey& key, uint32_t& out);
bool CfoReadFloat(const CfoNode* node, const CfoKey& key, float& out);
bool CfoReadString(const CfoNode* node, const CfoKey& key, std::string& out);
bool CfoReadVector2(const CfoNode* node, const CfoKey& key, HVector2& out);
bool CfoReadVector3(const CfoNode* node, const CfoKey& key, HVector3& out);
// The first child named as a table or rows entry; 0 when absent.
CfoNode* CfoReadChild(const CfoNode* node, const CfoKey& key);

// Sees every read made through a key entry: the node read, the entry, whether the key was
// there and, when it was not, the value the variable keeps, written as the key tables write
// defaults ("%g" numbers, "x,y" vectors, 0 or 1 for a bool). None unless one is set; the
// tables' own tests set one.
using CfoReadObserver = void (*)(const CfoNode* node, const CfoKey& key, bool present,
                                 const std::string& kept);
void CfoSetReadObserver(CfoReadObserver observer);
