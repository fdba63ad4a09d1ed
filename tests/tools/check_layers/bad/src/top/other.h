// Nothing of interest.
#pragma once
