#pragma once
// The TR5 room record.
struct Tr5Room {};
