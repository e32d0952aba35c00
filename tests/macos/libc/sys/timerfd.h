#pragma once

#error "Linux only"
