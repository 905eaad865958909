#pragma once
// The front end's own tables: jobs and the level editor's folder.
struct FrontendState {};
