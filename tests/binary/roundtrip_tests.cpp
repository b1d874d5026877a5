// The binary form of whole messages.
