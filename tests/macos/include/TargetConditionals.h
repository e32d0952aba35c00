#pragma once

// Asked for by GoogleTest: which of Apple's systems this is. What is not defined counts as none.
