#pragma once

/// Forgets how far the one-shot initialisation steps are. Any thread.
void resetInitStates();
