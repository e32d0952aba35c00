#pragma once

// Asked for by GoogleTest, which uses nothing of it.
