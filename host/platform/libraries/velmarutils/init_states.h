#pragma once

/// Forgets the state of every one-shot initialisation step. Any thread.
void resetInitStates();
