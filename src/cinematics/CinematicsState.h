#pragma once

struct CinematicsState {};
